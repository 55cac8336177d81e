#pragma once

#include <QStringView>
#include <QtGlobal>

#include <vector>

namespace tarn::console {

/// Which document blocks show which paragraph. Normally that is one block per paragraph, but
/// QTextDocument also starts a new block at U+2029, U+FDD0 and U+FDD1, which are ordinary
/// characters of program output. Only the paragraphs that hold such characters cost memory.
class ParagraphBlockMap
{
public:
    void clear();
    /// So many, whose texts are joined by line feeds.
    void appendParagraphs(qint64 count, QStringView texts);
    void extendParagraph(qint64 paragraph, QStringView addedText);

    qint64 paragraphCount() const { return m_paragraphCount; }
    /// Number of the first block of a paragraph; for paragraphCount(), of the block after the last.
    qint64 firstBlock(qint64 paragraph) const;
    /// The paragraph that a block shows; paragraphCount() or more for blocks after the last.
    qint64 paragraphOfBlock(qint64 block) const;

    static bool isBlockSeparator(QChar character);

private:
    struct Split
    {
        qint64 paragraph;
        qint64 extraBlocks; ///< blocks beyond one, of this and all earlier paragraphs together
    };

    qint64 extraBlocksBefore(qint64 paragraph) const;

    qint64 m_paragraphCount = 0;
    std::vector<Split> m_splits; ///< ascending
};

} // namespace tarn::console
