#pragma once

#include "textlayout/linebreaker.h"
#include "textlayout/wordplaces.h"
#include "textlayout/wordwidths.h"

#include <QFont>
#include <QStringView>

#include <optional>
#include <vector>

class QPaintDevice;

namespace tarn::console {

class AdvanceTable;

/// Finds the size of a text that is broken into lines without shaping it, from the widths of its
/// words. Lines are broken before the text is reordered, so that it makes no difference which way
/// it runs.
class WordRows
{
public:
    /// The table is the font's, and must live until the next one is set.
    void setFont(const QFont &font, QPaintDevice *device, const AdvanceTable *heights);

    /// What breakIntoLines() would find; the width may be greater, by the overhang of a letter.
    /// Nothing where only shaping can tell: for words that no line can hold, or that end so near to
    /// the line's end that the shape of a letter decides, for words that what stands before them
    /// holds together, for text that WordPlaces does not find its way in, for characters of which
    /// the table is not certain, for lines that overlap, and for text in several fonts or
    /// directions where the lines do not follow their ink.
    std::optional<ParagraphSize> sizeOf(QStringView text, const QTextOption &option,
                                        qreal lineWidth);

private:
    class Rows;
    bool fill(Rows *rows, QStringView text);
    std::optional<int> heightOf(const std::vector<qsizetype> &rowStarts, QStringView text) const;

    const AdvanceTable *m_heights = nullptr;
    qreal m_leading = 0;
    WordPlaces m_places;
    WordWidths m_widths;
};

} // namespace tarn::console
