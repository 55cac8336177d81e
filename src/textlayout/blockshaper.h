#pragma once

#include "textlayout/escapedisplay.h"
#include "textlayout/linebreaker.h"
#include "textlayout/segmentedparagraph.h"
#include "textlayout/segmentedparagraphcache.h"
#include "textlayout/shapedblockcache.h"
#include "textlayout/wordrows.h"

#include <QFont>
#include <QList>
#include <QScopedValueRollback>
#include <QTextBlock>
#include <QTextLayout>

#include <memory>
#include <optional>
#include <utility>

class QTextDocument;

namespace tarn::console {

class AdvanceTable;

/// Shapes the blocks of a document, and keeps what was shaped last. Knows no heights: it returns
/// what it measured.
class BlockShaper
{
public:
    /// Up to this length, in characters, a block is shaped in one piece, and at once. More takes
    /// milliseconds.
    static constexpr int shortBlock = 2048;

    explicit BlockShaper(QTextDocument *document);

    /// What is shaped already stays as it is.
    /// The table is the font's; it must live until the next one is set.
    void setFont(const QFont &font, const AdvanceTable *heights);
    /// Whether escapes in texts that run from right to left are kept in one piece. Not for a text
    /// that is composed with an input method.
    void setKeepsEscapes(bool keeps) { m_keepsEscapes = keeps; }
    void setLineWidth(qreal width) { m_lineWidth = width; }

    /// Whether a block can be painted without being shaped.
    bool isShaped(const QTextBlock &block) const;

    /// Makes sure that the block's own layout has lines. Returns its size if it got some: of a slow
    /// block the lines may be the first ones only, and each call goes on from there.
    std::optional<ParagraphSize> shape(const QTextBlock &block, const IsEnough &isEnough = {});

    /// The block that has only its first lines; -1 for none. Lines of another one drop those.
    int unfinishedBlock() const { return m_unfinished ? m_unfinished->block : -1; }

    /// Shapes a long paragraph in segments, and nothing more than its end if it only got longer.
    /// Null when the block is shaped fast enough, or cannot be segmented.
    const SegmentedParagraph *shapeSegments(const QTextBlock &block, const IsEnough &isEnough = {});

    /// Shapes a block only for its size, as above.
    ParagraphSize sizeOf(const QTextBlock &block, const IsEnough &isEnough = {});

    /// Whether a block is the empty one after the end of the last line. Where lines follow their
    /// ink, it is only as high as a caret, and keeps more of the lines in sight.
    static bool hasOnlyCaret(const QTextBlock &block);

    /// Makes a block one that is not shaped, and has the text that it has now.
    void reset(const QTextBlock &block);

    const EscapeDisplay &escapes() const { return m_escapes; }

    /// Whether a change of the document is none: only this shaper has cut a block into pieces.
    bool isOwnChange(int from, int charsRemoved, int charsAdded) const;
    /// While a change is taken over, as long as the result lives, the document tells of it again
    /// with every block that is cut into pieces.
    auto takeChange() { return QScopedValueRollback(m_takesChange, true); }

    /// `removed` blocks from first on became `inserted` ones.
    void replace(int first, int removed, int inserted);
    /// Gives everything back.
    void clear();

    /// Whether a user would notice how long it takes to shape a block at once.
    static bool isSlow(const QTextBlock &block);

private:
    SegmentedParagraph::Setting settingOf(const QTextBlock &block) const;
    QList<QTextLayout::FormatRange> formatsOf(const QString &text,
                                              Qt::LayoutDirection direction) const;
    QList<QTextLayout::FormatRange> piecesOf(const QTextBlock &block);
    void cutIntoPieces(const QTextBlock &block);
    void setFormats(const QTextBlock &block, const QList<QTextLayout::FormatRange> &formats);
    void thinOut(const QTextBlock &block);
    std::optional<EscapeDisplay::Display> displayOf(const QTextBlock &block) const;
    ParagraphSize breakOwn(const QTextBlock &block, const IsEnough &isEnough);
    void beginOwn(const QTextBlock &block);
    ParagraphSize sizeOfSlow(const QTextBlock &block, const IsEnough &isEnough);
    std::optional<ParagraphSize> sizeOfSegments(const QTextBlock &block, const IsEnough &isEnough);
    ParagraphSize placeCaret(const QTextBlock &block, QTextLayout *layout,
                             ParagraphSize size) const;
    void release(int block);

    /// Lines that are being made in a block's own layout.
    struct Unfinished
    {
        int block;
        bool isKept; ///< and not only made for their size
        LineBreaker breaker;
    };

    QTextDocument *m_document;
    QFont m_font;
    const AdvanceTable *m_heights = nullptr;
    EscapeDisplay m_escapes;
    bool m_keepsEscapes = false;
    qreal m_lineWidth = 0;
    ShapedBlockCache m_shaped;
    SegmentedParagraphCache m_segmented;
    std::optional<Unfinished> m_unfinished;
    WordRows m_wordRows;
    /// A paragraph that is shaped only for its size, which is not known yet, and its block.
    std::pair<int, std::unique_ptr<SegmentedParagraph>> m_measured;
    QTextBlock m_cutBlock; ///< while it is cut into pieces
    bool m_takesChange = false;
};

} // namespace tarn::console
