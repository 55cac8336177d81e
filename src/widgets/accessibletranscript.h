#pragma once

#include <QAccessibleWidget>
#include <QObject>
#include <QString>

#include <functional>

class QTextBlock;
class QTextEdit;

namespace tarn::console {

struct TranscriptParagraph;

/// What assistive technology reads of a text widget in the lazy layout. Qt's own interface looks
/// for characters only in text that has been shaped, and the layout shapes text when it comes into
/// sight; this one asks for it.
///
/// Its description says whose words the paragraph at the caret shows, and a change of it is told:
/// of the attributes that could say so, the bus passes only the colour on.
class AccessibleTranscript : public QAccessibleWidget, public QAccessibleTextInterface
{
public:
    /// The paragraph whose text a block of the view shows; null for none.
    using ParagraphOf = std::function<const TranscriptParagraph *(const QTextBlock &block)>;

    AccessibleTranscript(QTextEdit *view, ParagraphOf paragraphOf);
    ~AccessibleTranscript() override;

    QAccessible::State state() const override;
    QString text(QAccessible::Text kind) const override;
    void *interface_cast(QAccessible::InterfaceType type) override;

    void selection(int index, int *start, int *end) const override;
    int selectionCount() const override;
    void addSelection(int start, int end) override;
    void removeSelection(int index) override;
    void setSelection(int index, int start, int end) override;
    int cursorPosition() const override;
    void setCursorPosition(int position) override;

    QString text(int start, int end) const override;
    QString textBeforeOffset(int offset, QAccessible::TextBoundaryType boundary, int *start,
                             int *end) const override;
    QString textAfterOffset(int offset, QAccessible::TextBoundaryType boundary, int *start,
                            int *end) const override;
    QString textAtOffset(int offset, QAccessible::TextBoundaryType boundary, int *start,
                         int *end) const override;
    int characterCount() const override;

    /// In screen coordinates.
    QRect characterRect(int offset) const override;
    int offsetAtPoint(const QPoint &point) const override;
    void scrollToSubstring(int start, int end) override;
    QString attributes(int offset, int *start, int *end) const override;

private:
    QTextEdit *view() const;
    QString voiceAtCaret() const;
    void tellVoice();
    QString voiceAttributes(const QTextBlock &block) const;
    QPoint contentsOrigin() const;
    int position(int offset) const;
    void scrollTo(int position);
    QString textBetween(QPair<int, int> boundaries, int *start, int *end) const;

    ParagraphOf m_paragraphOf;
    QString m_toldVoice;
    QObject m_context; ///< of connections: the view may live on
};

} // namespace tarn::console
