#pragma once

#include "widgets/scrollrange.h"

#include <QObject>

#include <functional>
#include <optional>

class QScrollBar;
class QTextBlock;
class QTextEdit;

namespace tarn::console {

class LazyDocumentLayout;

/// Where the reader of a text is: at its end, which stays in view whatever is appended, or at a
/// paragraph, which stays where it is on the screen whatever happens above it.
///
/// Neither is a scroll value: the layout learns the heights of the text bit by bit, and everything
/// moves with each of them. So a place is a block and a distance, and to settle is to measure what
/// is in sight there, to bring the scroll bar up to date and to go there, until that moves nothing.
class ReadingPlace : public QObject
{
public:
    /// The view's document has the layout. Neither is owned, and both outlive the place.
    ReadingPlace(QTextEdit *view, LazyDocumentLayout *layout);
    ~ReadingPlace() override;

    /// Whether the scroll bar is at its end now.
    bool isAtEnd() const;
    /// The block at the top of the viewport.
    ScrollAnchor anchor() const;
    /// Scrolls there; to the end when the anchor's block is gone.
    void goTo(ScrollAnchor anchor);

    /// Changes the text, and keeps the end in view when it is followed, or else the reader's place.
    /// What is asked about the cursor's place on the screen meanwhile does not matter, and may get
    /// a wrong answer.
    void keep(const std::function<void()> &change);

    /// The same for a change that only moves the text or the scroll range: whoever was shown
    /// something elsewhere stays there although the end is followed, and a match in sight stays in
    /// sight.
    void rearrange(const std::function<void()> &change);

    /// Scrolls somewhere for a look: whether the end is followed does not change.
    void visit(const std::function<void()> &scroll);
    /// The same, to a match, which the function selects.
    void visitMatch(const std::function<void()> &scroll);

    /// A page to each side of what is in sight, so that to turn one goes where it should; what is
    /// in sight stays.
    void measurePagesBeside();
    /// The same of what would be in sight around a position of the text.
    void measureAround(int position);

    /// Who asks where something is has its paragraph measured, and everything below may move. That
    /// is noticed in the next turn of the event loop, or now.
    void takeMoves();

private:
    struct Place
    {
        bool atEnd = true;
        ScrollAnchor anchor; ///< unless at the end
    };

    /// From top to bottom on the screen.
    struct Rows
    {
        int top = 0;
        int bottom = 0;
    };

    QScrollBar *bar() const;
    ScrollRange range() const;
    std::optional<int> topOf(qint32 blockNumber) const;
    int offsetOf(const QTextBlock &block) const;
    ScrollAnchor firstExactInSight() const;

    void settleAround(const std::function<void()> &change, bool atEnd);
    void settle();
    void notePlace();
    bool measureSight(int beside = 0);
    void takeHeights();
    void takeScrolling();

    bool isMatchSelected() const;
    Rows matchRows() const;
    void measureMatch();
    void noteMatch();
    void bringMatchIntoSight();

    QTextEdit *m_view;
    LazyDocumentLayout *m_layout;
    /// Whether the next change goes to the end: only the reader's own scrolling decides that.
    bool m_followsEnd = true;
    bool m_isSettling = false; ///< the scroll bar's moves are not the reader's
    Place m_place;             ///< where the reader is, or will be once all heights are known
    int m_placeTop = 0;        ///< where the place's block was when it was settled
    int m_matchStart = -1;     ///< of the last match; it ends with the selection of it
    int m_matchEnd = -1;
    bool m_isMatchInSight = false;
};

} // namespace tarn::console
