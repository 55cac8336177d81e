#include "textlayout/wordrows.h"

#include "textlayout/advancetable.h"

#include <QFontMetricsF>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <limits>

namespace tarn::console {

namespace {

/// Where lines may end between two blanks of a text. Whatever is before a word may hold its parts
/// together; a blank always lets a line end.
class Breaks
{
public:
    explicit Breaks(QStringView text)
        : m_finder(QTextBoundaryFinder::Line, text)
        , m_next(m_finder.toNextBoundary())
    {
    }

    void goOnBehind(qsizetype place)
    {
        while (m_next >= 0 && m_next <= place)
            m_next = m_finder.toNextBoundary();
    }
    /// The next one, or -1.
    qsizetype next() const { return m_next; }

private:
    QTextBoundaryFinder m_finder;
    qsizetype m_next;
};

} // namespace

/// The rows that words fill, one after the other.
class WordRows::Rows
{
public:
    explicit Rows(int lineWidth)
        : m_lineWidth(lineWidth)
    {
    }

    /// What is between two words belongs to no row if the second one begins a row. Returns false
    /// for a gap as wide as a line.
    bool setGap(qint64 width)
    {
        m_gap = width;
        return width < m_lineWidth;
    }

    /// Adds what may not be broken. Returns false when it is not sure which row it is in, or
    /// whether it fits into a row.
    bool add(qsizetype start, int width, int overhang)
    {
        const qint64 end = m_end + m_gap + width;
        const bool isFirst = m_starts.empty();
        if (end + overhang <= m_lineWidth) {
            m_end = end;
            if (isFirst)
                m_starts.push_back(0);
        } else if (end > m_lineWidth && !isFirst && width + overhang <= m_lineWidth) {
            m_leastRoom = std::min(m_leastRoom, m_lineWidth - m_end);
            m_end = width;
            m_starts.push_back(start);
        } else {
            return false;
        }
        m_widest = std::max(m_widest, m_end + overhang);
        m_gap = 0;
        return true;
    }

    /// Where in the text they begin.
    const std::vector<qsizetype> &starts() const { return m_starts; }
    qreal widest() const { return static_cast<qreal>(m_widest) / WordWidths::unitsPerPixel; }
    /// At the end of a row that has one after it. Where the next one begins with another direction
    /// or script, Qt takes one of its letters for the last one of this row, adds how far that
    /// reaches over its width, and breaks words if there is no room for it.
    qint64 leastRoom() const { return m_leastRoom; }

private:
    qint64 m_lineWidth;
    qint64 m_end = 0; ///< of the last row so far
    qint64 m_gap = 0;
    qint64 m_widest = 0;
    qint64 m_leastRoom = std::numeric_limits<qint64>::max();
    std::vector<qsizetype> m_starts;
};

void WordRows::setFont(const QFont &font, QPaintDevice *device, const AdvanceTable *heights)
{
    m_heights = heights;
    m_leading = device ? QFontMetricsF(font, device).leading() : QFontMetricsF(font).leading();
    m_widths.setFont(font, device, heights);
}

std::optional<ParagraphSize> WordRows::sizeOf(QStringView text, const QTextOption &option,
                                              qreal lineWidth)
{
    const bool linesOverlap = m_leading < 0 && m_heights && !m_heights->followsInk();
    if (!m_heights || linesOverlap || option.textDirection() == Qt::LayoutDirectionAuto
        || option.flags() || option.wrapMode() != QTextOption::WrapAtWordBoundaryOrAnywhere)
        return std::nullopt;
    if (!m_places.find(text, option.textDirection() == Qt::RightToLeft)
        || !(m_places.isOnePiece() || m_heights->followsInk()))
        return std::nullopt;
    Rows rows(static_cast<int>(lineWidth * WordWidths::unitsPerPixel));
    if (!fill(&rows, text))
        return std::nullopt;
    const auto height = heightOf(rows.starts(), text);
    if (!height)
        return std::nullopt;
    return ParagraphSize{.height = *height, .width = rows.widest()};
}

/// Returns false when not all of the text is known.
bool WordRows::fill(Rows *rows, QStringView text)
{
    m_widths.beginText();
    Breaks breaks(text);
    qsizetype end = 0;
    int overhang = 0;
    for (const WordPlaces::Word &place : m_places.words()) {
        const qsizetype blanks = place.start - end;
        end = place.end;
        const WordWidths::Word &word =
            m_widths.of(text.sliced(place.start, end - place.start), place.surroundings);
        const qsizetype gap =
            blanks > 0 ? (blanks - 1) * m_widths.blank(place.surroundings) + word.blankBefore : 0;
        if (word.parts.empty() || !rows->setGap(gap))
            return false;
        overhang = std::max(overhang, word.overhang);
        qsizetype partStart = place.start;
        for (const WordWidths::Part &part : word.parts) {
            const qsizetype partEnd = partStart + part.length;
            const int more = partEnd == text.size() ? word.moreAtEnd : 0;
            breaks.goOnBehind(partStart);
            const bool isLast = partEnd == end;
            const bool endsThere =
                isLast ? breaks.next() < 0 || breaks.next() >= end : breaks.next() == partEnd;
            if (!endsThere || !rows->add(partStart, part.width + more, part.overhang))
                return false;
            partStart = partEnd;
        }
    }
    const WordSurroundings atEnd =
        m_places.words().empty() ? WordSurroundings() : m_places.words().back().surroundings;
    return rows->setGap((text.size() - end) * m_widths.blank(atEnd))
           && (m_places.isOnePiece() || rows->leastRoom() >= overhang);
}

std::optional<int> WordRows::heightOf(const std::vector<qsizetype> &rowStarts,
                                      QStringView text) const
{
    int height = 0;
    for (std::size_t row = 0; row < rowStarts.size(); ++row) {
        const qsizetype end = row + 1 < rowStarts.size() ? rowStarts[row + 1] : text.size();
        const auto rowHeight =
            m_heights->rowHeight(text.sliced(rowStarts[row], end - rowStarts[row]), text);
        if (!rowHeight)
            return std::nullopt;
        height += *rowHeight;
    }
    return rowStarts.empty() ? std::nullopt : std::optional(height);
}

} // namespace tarn::console
