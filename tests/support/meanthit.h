#pragma once

#include <QAbstractTextDocumentLayout>
#include <QGlyphRun>
#include <QList>
#include <QPointF>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>
#include <QTextOption>

#include <algorithm>
#include <cmath>

namespace tarn::console {

/// Hit tests of a document in Qt's own layout, without its errors: in a line of right-to-left text,
/// it is off by the blanks at the line's end, and by some characters among dots and the like; at
/// the edges of wrapped lines its answer may be in the line above or below.
class MeantHits
{
public:
    explicit MeantHits(const QTextDocument &document)
        : m_document(document)
    {
    }

    int at(QPointF point, Qt::HitTestAccuracy accuracy) const
    {
        const int answer = m_document.documentLayout()->hitTest(point, accuracy);
        const QTextBlock block = blockAt(point.y());
        // The bottom edge of a block belongs to it, and not to the next one.
        if (!block.isValid() || answer < block.position())
            return answer;
        const QTextLayout &layout = *block.layout();
        for (int i = 0; i < layout.lineCount(); ++i) {
            const QTextLine line = layout.lineAt(i);
            if (!covers(line.naturalTextRect().translated(layout.position()), point.y()))
                continue;
            const int offset = inLine(block, line, point.x() - layout.position().x(),
                                      answer - block.position(), accuracy);
            return block.position() + offset;
        }
        return answer;
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

    static int inLine(const QTextBlock &block, const QTextLine &line, qreal x, int answer,
                      Qt::HitTestAccuracy accuracy)
    {
        const QTextLayout &layout = *block.layout();
        const int end = line.textStart() + line.textLength();
        // The caret before the last character of a wrapped line is the last one drawn in it.
        const bool isWrapped = line.lineNumber() < layout.lineCount() - 1;
        const int last =
            isWrapped ? std::max(line.textStart(), layout.previousCursorPosition(end)) : end;
        const QRectF rect = line.naturalTextRect();
        const int blanks = trailingBlanks(block, line);
        const qreal width = hangingWidth(block, line, blanks);
        if (width > 0 && x <= rect.left())
            answer = nearestCaret(layout, line, end - blanks, last, x);
        else if (width > 0 && x < rect.right() && x + width >= rect.right())
            answer = nearestCaret(layout, line, line.textStart(), last, x);
        else if (width > 0 && x < rect.right())
            answer = line.xToCursor(x + width, accuracy == Qt::ExactHit
                                                   ? QTextLine::CursorOnCharacter
                                                   : QTextLine::CursorBetweenCharacters);
        answer = std::clamp(answer, line.textStart(), last);
        if (accuracy == Qt::FuzzyHit)
            answer = nearestInRun(layout, line, answer, x);
        return std::clamp(answer, line.textStart(), last);
    }

    /// Whether the character at a position runs from right to left, or is in another line.
    static bool runsLeft(const QTextLine &line, int position)
    {
        const QList<QGlyphRun> runs = line.glyphRuns(position, 1);
        return position < line.textStart() || position >= line.textStart() + line.textLength()
               || (!runs.isEmpty() && runs.front().isRightToLeft());
    }

    /// Qt finds its way about characters without a script of their own, dots say, as if they ran
    /// from left to right. At the border of two directions, carets are drawn elsewhere.
    static int nearestInRun(const QTextLayout &layout, const QTextLine &line, int answer, qreal x)
    {
        const auto distance = [&](int position) { return std::abs(line.cursorToX(position) - x); };
        const auto isBetter = [&](int position, int than) {
            return distance(position) < distance(than) && runsLeft(line, position)
                   && runsLeft(line, layout.previousCursorPosition(position));
        };
        int nearest = answer;
        for (int next = layout.nextCursorPosition(nearest);
             line.cursorToX(next) < line.cursorToX(nearest) && isBetter(next, nearest);
             next = layout.nextCursorPosition(nearest))
            nearest = next;
        for (int before = layout.previousCursorPosition(nearest);
             line.cursorToX(before) > line.cursorToX(nearest) && isBetter(before, nearest);
             before = layout.previousCursorPosition(nearest))
            nearest = before;
        return nearest;
    }

    static int trailingBlanks(const QTextBlock &block, const QTextLine &line)
    {
        if (!block.layout()->preeditAreaText().isEmpty())
            return 0;
        const QString text = block.text().mid(line.textStart(), line.textLength());
        const auto visible = std::find_if(text.rbegin(), text.rend(),
                                          [](QChar c) { return !c.isSpace() || c == u'\t'; });
        return int(visible - text.rbegin());
    }

    /// Their width where they do not hang, in a line of their own.
    static qreal hangingWidth(const QTextBlock &block, const QTextLine &line, int blanks)
    {
        if (block.layout()->textOption().textDirection() != Qt::RightToLeft || blanks == 0)
            return 0;
        // After English words, they run on beyond the other edge; that is left to Qt.
        if (line.cursorToX(line.textStart() + line.textLength()) >= line.x() + line.width())
            return 0;
        const QString text = block.text().mid(line.textStart(), line.textLength());
        QTextLayout alone(text + QChar(0x0627), block.document()->defaultFont(),
                          block.document()->documentLayout()->paintDevice());
        QTextOption option;
        option.setTextDirection(Qt::RightToLeft);
        option.setWrapMode(QTextOption::NoWrap);
        alone.setTextOption(option);
        alone.beginLayout();
        const QTextLine whole = alone.createLine();
        alone.endLayout();
        return std::abs(whole.cursorToX(int(text.size()) - blanks)
                        - whole.cursorToX(int(text.size())));
    }

    static int nearestCaret(const QTextLayout &layout, const QTextLine &line, int first, int last,
                            qreal x)
    {
        const auto distance = [&](int position) { return std::abs(line.cursorToX(position) - x); };
        int nearest = std::min(first, last);
        while (nearest < last) {
            const int next = layout.nextCursorPosition(nearest);
            if (next > last || next == nearest || distance(next) >= distance(nearest))
                break;
            nearest = next;
        }
        return nearest;
    }

    const QTextDocument &m_document;
};

} // namespace tarn::console
