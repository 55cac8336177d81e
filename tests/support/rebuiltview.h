#pragma once

#include "transcript/transcript.h"
#include "widgets/paragraphpresentation.h"

#include <QPoint>
#include <QPointer>
#include <QTextEdit>

#include <functional>

namespace tarn::console {

/// A transcript view without any cleverness, to compare the real one with: every refresh replaces
/// the whole text, formats every block, completes the layout and only then scrolls.
class RebuiltView : public QTextEdit
{
public:
    explicit RebuiltView(const Transcript *transcript, QWidget *parent = nullptr);

    /// Unlike the real view's it does not acknowledge: that is the caller's.
    void refresh();
    /// The same when only the direction of the paragraphs is another.
    void present();
    bool followsEnd() const;
    TranscriptFindResult findLiteral(const QString &text, bool backward);
    void setDraftEditor(QTextEdit *editor);

protected:
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    struct Place
    {
        int blockNumber = 0;
        int offset = 0;
    };

    Place place() const;
    void goTo(bool end, Place place);
    void takeScrolling();
    void keep(bool end, const std::function<void()> &change);
    void rearrange(const std::function<void()> &change);
    bool isMatch() const;
    QRect matchRect() const;
    bool isMatchInSight() const;
    void rebuild();
    void completeLayout();
    qsizetype paragraphOf(const QTextBlock &block, qsizetype from, qsizetype *start) const;
    void formatBlocks();
    void colourBlocks();
    void presentDraft();

    const Transcript *m_transcript;
    QPointer<QTextEdit> m_draftEditor;
    int m_matchStart = -1;
    int m_matchEnd = -1;
    bool m_matchInSight = false;
    bool m_followEnd = true;
    bool m_isAtEnd = true; ///< where the text was put last
    bool m_presentingDraft = false;
};

} // namespace tarn::console
