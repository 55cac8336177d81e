#include "widgets/paragraphblockmap.h"

#include <QChar>
#include <QList>

#include <algorithm>
#include <iterator>

namespace tarn::console {

namespace {

// What QTextCursor::insertText() breaks at, besides the line ends that no paragraph holds.
bool isSeparator(QChar character)
{
    const char16_t code = character.unicode();
    return code == QChar::ParagraphSeparator || code == 0xFDD0 || code == 0xFDD1;
}

// Without a branch, so that the compiler takes many characters at once.
bool hasSeparators(QStringView text)
{
    char16_t found = 0;
    for (const QChar character : text)
        found |= char16_t(isSeparator(character));
    return found != 0;
}

qint64 countSeparators(QStringView text)
{
    return std::count_if(text.begin(), text.end(), isSeparator);
}

} // namespace

bool ParagraphBlockMap::isBlockSeparator(QChar character)
{
    return isSeparator(character);
}

void ParagraphBlockMap::clear()
{
    m_paragraphCount = 0;
    m_splits.clear();
}

void ParagraphBlockMap::appendParagraphs(qint64 count, QStringView texts)
{
    const qint64 first = m_paragraphCount;
    m_paragraphCount += count;
    if (!hasSeparators(texts))
        return;
    const auto each = texts.split(u'\n');
    for (qint64 i = 0; i < count; ++i)
        extendParagraph(first + i, each[i]);
}

void ParagraphBlockMap::extendParagraph(qint64 paragraph, QStringView addedText)
{
    const qint64 added = countSeparators(addedText);
    if (added == 0)
        return;
    auto split = std::lower_bound(m_splits.begin(), m_splits.end(), paragraph,
                                  [](const Split &s, qint64 p) { return s.paragraph < p; });
    if (split == m_splits.end() || split->paragraph != paragraph)
        split = m_splits.insert(split, {paragraph, extraBlocksBefore(paragraph)});
    for (; split != m_splits.end(); ++split)
        split->extraBlocks += added;
}

qint64 ParagraphBlockMap::extraBlocksBefore(qint64 paragraph) const
{
    const auto split = std::lower_bound(m_splits.begin(), m_splits.end(), paragraph,
                                        [](const Split &s, qint64 p) { return s.paragraph < p; });
    return split == m_splits.begin() ? 0 : std::prev(split)->extraBlocks;
}

qint64 ParagraphBlockMap::firstBlock(qint64 paragraph) const
{
    return paragraph + extraBlocksBefore(paragraph);
}

qint64 ParagraphBlockMap::paragraphOfBlock(qint64 block) const
{
    // The last split paragraph that begins at or before the block.
    const auto after =
        std::partition_point(m_splits.begin(), m_splits.end(), [this, block](const Split &s) {
            return firstBlock(s.paragraph) <= block;
        });
    if (after == m_splits.begin())
        return block;
    const Split &split = *std::prev(after);
    return std::max(split.paragraph, block - split.extraBlocks);
}

} // namespace tarn::console
