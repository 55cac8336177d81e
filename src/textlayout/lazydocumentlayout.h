#pragma once

#include "textlayout/blockshaper.h"
#include "textlayout/layoutturn.h"
#include "textlayout/textsetting.h"

#include <QAbstractTextDocumentLayout>
#include <QBasicTimer>
#include <QColor>
#include <QScopedValueRollback>
#include <QStringView>
#include <QTextBlock>

#include <functional>
#include <optional>

namespace tarn::console {

struct BlockHeight;

/// In which colour the text of a block is drawn where it is not selected; asked at every painting,
/// for what is painted.
using TextColour = std::function<QColor(const QTextBlock &block, const QPalette &palette)>;

/// The text of the block of a number, where somebody has it at hand and it is so long; null
/// otherwise. To take it out of the document costs more than to measure it.
using KnownText = std::function<QStringView(int blockNumber, qsizetype length)>;

/// Lays out a plain-text document, and shapes a block only when somebody looks at it. The heights
/// of all others come from the AdvanceTable: exact where a block surely stays on one line, guessed
/// where it may wrap, and guesses are measured in the idle time after a change. Each block keeps
/// its own (see BlockHeight), so that the document's tree answers at which y a block begins and
/// which block is at a y.
///
/// Drawn are the texts of the blocks in the document's default font, each in the direction and with
/// the alignment of its block, and in the colour of its own that it may have; selections; the
/// caret; and what an input method composes. The text is broken and placed as Qt's own document
/// layout does it, with two differences: see paragraphOption(); and in a font that declares far
/// more height than its texts ink, lines stand as close as their ink allows. A line is wider than
/// the page only when a single character is.
///
/// Everything else that a document can hold is ignored: pages, frames, tables, lists and images;
/// margins, indents, line heights, tab stops and backgrounds of blocks; whether a block is visible.
/// Heights know nothing of character formats.
class LazyDocumentLayout : public QAbstractTextDocumentLayout
{
    Q_OBJECT
    Q_PROPERTY(int cursorWidth READ cursorWidth WRITE setCursorWidth)

public:
    /// The document is to get the layout by QTextDocument::setDocumentLayout(), which takes
    /// ownership. The paint device is what the document is shown on. Without a colour, all texts
    /// have the palette's. The known text is asked for when heights are estimated.
    ///
    /// The clock tells how long shaping takes. In a turn of the event loop, what is changed and
    /// what is painted have a share of time each; what is left then stays guessed, and unpainted,
    /// until the next turn. Null for the time of the processor.
    LazyDocumentLayout(QTextDocument *document, QPaintDevice *device, TextColour textColour = {},
                       KnownText knownText = {}, const TurnBudget::Clock &clock = {});
    ~LazyDocumentLayout() override;

    /// What somebody sees or is about to see: y coordinates of the document.
    struct Sight
    {
        int top = 0;
        int bottom = 0;
    };

    /// Measures every block in sight, again while that moves what is in sight, and reports the size
    /// that the document has then. Returns whether a height changed.
    bool measure(const std::function<Sight()> &sight);

    /// Whether no height is a guess.
    bool isExact() const { return m_lastGuess < 0; }

    /// The block that covers a y, its bottom edge included as in hit tests; above the first block
    /// that one, below the last that one.
    QTextBlock blockAt(qreal y) const;
    /// Where a block begins, as far as the heights before it are known.
    int topOf(const QTextBlock &block) const;

    TextSetting::LineHeights lineHeights() const;

    /// Whether blockBoundingRect() shapes a long block. It is asked wherever a text cursor is put;
    /// without shaping, the rectangle may be empty or another.
    void setShapesLongBlocks(bool shapes) { m_shapesLongBlocks = shapes; }

    /// Whether there is so much room above the first line that what Qt takes for the caret is
    /// within the document there, and can be scrolled into view.
    void setRoomForCaret(bool room) { m_setting.setRoomForCaret(room); }

    /// Whether escapes such as "\xFF" are kept in one piece where text runs from right to left. To
    /// be set before there is a text. Not for a text that is composed with an input method.
    void setKeepsEscapes(bool keeps) { m_shaper.setKeepsEscapes(keeps); }

    /// As long as the result lives, whoever changes the document leaves its texts as they are.
    auto keepTexts() { return QScopedValueRollback(m_texts.areKept, true); }

    void draw(QPainter *painter, const PaintContext &context) override;
    int hitTest(const QPointF &point, Qt::HitTestAccuracy accuracy) const override;
    int pageCount() const override;
    QSizeF documentSize() const override;
    QRectF frameBoundingRect(QTextFrame *frame) const override;
    QRectF blockBoundingRect(const QTextBlock &block) const override;

    int cursorWidth() const { return m_cursorWidth; }
    void setCursorWidth(int width) { m_cursorWidth = width; }

Q_SIGNALS:
    /// Heights are others than before, or new guesses. The new size is reported next, which may
    /// move the scroll bar: whoever knows what is in sight may measure() it now. That spares
    /// reporting a wrong size: scroll bars that come and go make all lines break again.
    void heightsChanged();

protected:
    void documentChanged(int from, int charsRemoved, int charsAdded) override;
    void timerEvent(QTimerEvent *event) override;

private:
    /// What whoever writes the texts knows of them; each null when nobody does.
    struct Texts
    {
        TextColour colour; ///< null for the palette's
        KnownText known;
        bool areKept = false; ///< changes are of formats
    };

    bool isLaidOut() const;
    int topMargin() const;
    qreal lineWidth() const;

    void reportSize();
    void changeEverything(bool sameTexts);
    QTextBlock changeBlocks(int from, int charsRemoved, int charsAdded);
    void reshape(QTextBlock block, int charsAdded);
    void estimate(QTextBlock block, int number, int *promptCharacters,
                  std::optional<qreal> widthBefore = {});
    void guess(const QTextBlock &block, const BlockHeight &height);
    bool measureOnce(Sight sight, bool *hasShaped);
    bool measureGuesses();

    void shape(const QTextBlock &block, const IsEnough &isEnough) const;
    const SegmentedParagraph *shapeSegments(const QTextBlock &block,
                                            const TurnBudget &budget) const;
    bool takeSize(const QTextBlock &block, const ParagraphSize &size) const;
    void shapeOnDemand(const QTextBlock &block, const IsEnough &isEnough = {}) const;
    bool drawSegments(QPainter *painter, const PaintContext &context,
                      const QTextBlock &block) const;
    void drawBlock(QPainter *painter, const PaintContext &context, const QTextBlock &block) const;

    TextSetting m_setting;
    Texts m_texts;
    qreal m_pageWidth = -1; ///< of the heights; -1 before the first
    int m_blockCount = 1;
    int m_cursorWidth = 1;
    mutable int m_lastGuess = -1; ///< guessed heights are in this block or before it
    mutable BlockShaper m_shaper;
    mutable qreal m_widestLine = 0;
    bool m_shapesLongBlocks = true;
    mutable LayoutTurn m_turn;
    QBasicTimer m_idleTimer;
};

} // namespace tarn::console
