#pragma once

#include "transcript/transcriptparagraph.h"
#include "widgets/accessibletext.h"

#include <QObject>

#include <functional>
#include <optional>

namespace tarn::console {

/// What assistive technology reads of the transcript. Its description says whose words the
/// paragraph at the caret shows, and a change of it is told: of the attributes that could say so,
/// the bus passes only the colour on.
class AccessibleTranscript : public AccessibleText
{
public:
    /// The paragraph whose text a block of the view shows, without its texts; nothing for none.
    using OriginOf = std::function<std::optional<TranscriptParagraph>(const QTextBlock &block)>;

    AccessibleTranscript(QTextEdit *view, OriginOf originOf);
    ~AccessibleTranscript() override;

    using AccessibleText::text;
    QString text(QAccessible::Text kind) const override;

protected:
    QString attributesOf(const QTextBlock &block) const override;

private:
    QString voiceAtCaret() const;
    void tellVoice();

    OriginOf m_originOf;
    QString m_toldVoice;
    QObject m_context; ///< of connections: the view may live on
};

} // namespace tarn::console
