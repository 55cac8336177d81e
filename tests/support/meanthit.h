#pragma once

#include <QAbstractTextDocumentLayout>
#include <QGlyphRun>
#include <QList>
#include <QPointF>
#include <QSet>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>
#include <QTextOption>

#include <algorithm>
#include <cmath>
#include <optional>

namespace tarn::console {

/// What a hit test of a document in Qt's own layout should find, told by what is drawn: the glyphs
/// of a line lie side by side, and a point is in the half of one of them that is towards the
/// position before or after its character. Qt's own answers are others in text that runs from right
/// to left. Slow, and only as long as the document stays as it is.
class MeantHits
{
public:
    explicit MeantHits(const QTextDocument &document)
        : m_document(document)
    {
    }

    /// The positions that are right: several where what is drawn does not tell them apart, and at
    /// the border of two.
    QSet<int> at(QPointF point) const
    {
        const int answer = m_document.documentLayout()->hitTest(point, Qt::FuzzyHit);
        const QTextBlock block = blockAt(point.y());
        // The bottom edge of a block belongs to it, and not to the next one.
        if (!block.isValid() || answer < block.position())
            return {answer};
        const QTextLayout &layout = *block.layout();
        for (int i = 0; i < layout.lineCount(); ++i) {
            const QTextLine line = layout.lineAt(i);
            if (!covers(line.naturalTextRect().translated(layout.position()), point.y()))
                continue;
            if (!m_lastLine || !m_lastLine->is(block, line))
                m_lastLine.emplace(block, line);
            return m_lastLine->positionsAt(point.x(), answer);
        }
        return {answer};
    }

private:
    static bool covers(const QRectF &rect, qreal y) { return rect.top() <= y && y < rect.bottom(); }

    QTextBlock blockAt(qreal y) const
    {
        QTextBlock block = m_document.begin();
        while (block.isValid()
               && !covers(block.layout()->boundingRect().translated(block.layout()->position()), y))
            block = block.next();
        return block;
    }

    /// What is drawn at a place: a character, or several of which one cannot be told from another.
    struct Cell
    {
        qreal left = 0;
        int start = 0;
        int end = 0;
        bool isLeftwards = false;
    };

    class DrawnLine
    {
    public:
        DrawnLine(const QTextBlock &block, const QTextLine &line)
            : m_block(block)
            , m_layout(*block.layout())
            , m_line(line)
            , m_end(line.textStart() + line.textLength())
        {
            m_text = block.text().insert(std::max(0, m_layout.preeditAreaPosition()),
                                         m_layout.preeditAreaText());
            // The caret before the last character of a wrapped line is the last one drawn in it.
            const bool isWrapped = line.lineNumber() < m_layout.lineCount() - 1;
            m_last = isWrapped ? std::max(line.textStart(), m_layout.previousCursorPosition(m_end))
                               : m_end;
            findCells();
        }

        bool is(const QTextBlock &block, const QTextLine &line) const
        {
            return m_block == block && m_line.lineNumber() == line.lineNumber();
        }

        /// In coordinates and positions of the document.
        QSet<int> positionsAt(qreal documentX, int documentAnswer) const
        {
            const qreal x = documentX - m_layout.position().x();
            const int qtsAnswer = documentAnswer - m_block.position();
            // Roundings differ.
            constexpr qreal border = 0.25;
            QSet<int> offsets;
            for (const qreal near : {x - border, x, x + border})
                offsets |= offsetsAt(near);
            if (endsInTheOtherDirection() || isPartlyUnseen())
                offsets |= nearestCarets(x, m_line.textStart())
                           << m_layout.previousCursorPosition(qtsAnswer) << qtsAnswer
                           << m_layout.nextCursorPosition(qtsAnswer);
            QSet<int> positions;
            for (const int offset : std::as_const(offsets))
                positions << m_block.position() + std::clamp(offset, m_line.textStart(), m_last);
            return positions;
        }

    private:
        bool isRightToLeft() const
        {
            return m_layout.textOption().textDirection() == Qt::RightToLeft;
        }

        void findCells()
        {
            for (int start = m_line.textStart(); start < m_end;) {
                const int next = std::min(m_layout.nextCursorPosition(start), m_end);
                addCell(start, std::max(next, start + 1));
                start = std::max(next, start + 1);
            }
            std::stable_sort(m_cells.begin(), m_cells.end(),
                             [](const Cell &a, const Cell &b) { return a.left < b.left; });
        }

        void addCell(int start, int end)
        {
            Cell cell{.start = start, .end = end, .isLeftwards = isRightToLeft()};
            if (m_text.at(start) == u'\t') {
                cell.left = m_line.cursorToX(isRightToLeft() ? end : start);
            } else {
                const QList<QGlyphRun> runs = m_line.glyphRuns(start, 1);
                // Blanks that hang out of a line are not drawn.
                if (runs.isEmpty() || runs.front().positions().isEmpty())
                    return;
                cell.left = runs.front().positions().front().x();
                cell.isLeftwards = runs.front().isRightToLeft();
            }
            m_drawnEnd = end;
            for (Cell &other : m_cells) {
                if (std::abs(other.left - cell.left) > 0.01)
                    continue;
                other.start = std::min(other.start, start);
                other.end = std::max(other.end, end);
                return;
            }
            m_cells << cell;
        }

        /// Qt gives the blanks after such a line a place in its middle, where they are not drawn.
        bool endsInTheOtherDirection() const
        {
            const auto last =
                std::find_if(m_cells.begin(), m_cells.end(),
                             [this](const Cell &cell) { return cell.end == m_drawnEnd; });
            return m_drawnEnd < m_end && last != m_cells.end()
                   && last->isLeftwards != isRightToLeft();
        }

        QSet<int> offsetsAt(qreal x) const
        {
            const QRectF rect = m_line.naturalTextRect();
            const qreal right = rect.left() + m_line.horizontalAdvance();
            if (x < (m_cells.isEmpty() ? rect.left() : m_cells.front().left))
                return isRightToLeft() ? leftOfAll(x) : QSet<int>{m_line.textStart()};
            if (x > right || m_cells.isEmpty())
                return {isRightToLeft() ? m_line.textStart() : m_end};
            qsizetype i = m_cells.size() - 1;
            while (m_cells.at(i).left > x)
                --i;
            const Cell &cell = m_cells.at(i);
            const qreal end = i + 1 < m_cells.size() ? m_cells.at(i + 1).left : right;
            if (m_layout.nextCursorPosition(cell.start) < cell.end)
                return allIn(cell);
            if (cell.isLeftwards && isBesideAnotherDirection(cell))
                return {cell.start, cell.end};
            const bool isInLeftHalf = x < (cell.left + end) / 2;
            return {isInLeftHalf != cell.isLeftwards ? cell.start : cell.end};
        }

        /// There, the caret of a position is drawn at one of two places. Where a blank is between
        /// two directions, the other position is as right, and nearer to what is seen beside it.
        bool isBesideAnotherDirection(const Cell &cell) const
        {
            return std::any_of(m_cells.begin(), m_cells.end(), [&cell](const Cell &other) {
                return (other.end == cell.start || other.start == cell.end)
                       && other.isLeftwards != cell.isLeftwards;
            });
        }

        QSet<int> allIn(const Cell &cell) const
        {
            QSet<int> offsets;
            for (int offset = cell.start; offset <= cell.end; ++offset) {
                if (m_layout.isValidCursorPosition(offset))
                    offsets << offset;
            }
            return offsets;
        }

        /// What an input method composes has positions of its own, of characters that are not seen
        /// the glyphs do not tell the width, and Qt gives tabs of right-to-left text one width
        /// where it draws and another where it looks for a position.
        bool isPartlyUnseen() const
        {
            const QString text = m_text.mid(m_line.textStart(), m_line.textLength());
            return !m_layout.preeditAreaText().isEmpty()
                   || (isRightToLeft() && text.contains(u'\t'))
                   || std::any_of(text.begin(), text.end(), [](QChar character) {
                          return character.category() == QChar::Other_Format
                                 || character == QChar::ObjectReplacementCharacter;
                      });
        }

        QSet<int> leftOfAll(qreal x) const
        {
            const QString unseen = m_text.mid(m_drawnEnd, m_end - m_drawnEnd);
            const bool isHanging = !unseen.isEmpty() && unseen.trimmed().isEmpty();
            return isHanging ? nearestCarets(x, m_drawnEnd) : QSet<int>{m_last};
        }

        /// From an offset on. Left of right-to-left text, only the carets tell how wide its blanks
        /// are.
        QSet<int> nearestCarets(qreal x, int first) const
        {
            const auto distance = [&](int offset) {
                return std::abs(m_line.cursorToX(offset) - x);
            };
            qreal least = distance(m_last);
            for (int offset = first; offset < m_last; ++offset)
                least = std::min(least, distance(offset));
            QSet<int> nearest;
            for (int offset = std::min(first, m_last); offset <= m_last; ++offset) {
                if (distance(offset) - least < 0.1)
                    nearest << offset;
            }
            return nearest;
        }

        QTextBlock m_block;
        const QTextLayout &m_layout;
        QTextLine m_line;
        QString m_text; ///< with what an input method composes
        int m_end;
        int m_last = 0;
        int m_drawnEnd = m_line.textStart();
        QList<Cell> m_cells; ///< from left to right
    };

    const QTextDocument &m_document;
    mutable std::optional<DrawnLine> m_lastLine;
};

} // namespace tarn::console
