#include "widgets/linekeys.h"

#include "textlayout/linepositions.h"

#include <QAbstractTextDocumentLayout>
#include <QKeyEvent>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextEdit>
#include <QTextLayout>

#include <array>
#include <cmath>
#include <cstdlib>

namespace tarn::console::LineKeys {

namespace {

/// Asks for it, where it was not laid out so far.
const QTextLayout &laidOut(const QTextBlock &block)
{
    if (block.layout()->lineCount() == 0)
        block.document()->documentLayout()->blockBoundingRect(block);
    return *block.layout();
}

struct SeenLine
{
    QTextBlock block;
    QTextLine line;

    bool isValid() const { return line.isValid(); }
    /// The nearest position of the document that is in the line.
    int nearest(int position) const
    {
        const int start = block.position();
        return start + positionsIn(*block.layout(), line).nearest(position - start);
    }
};

/// The position of the document at a column of a line where Qt found one. In signs that run from
/// right to left, Qt's may be at the other end of a run.
int atColumn(const SeenLine &line, int found, int column)
{
    const int nearest = line.nearest(found);
    const int start = line.block.position();
    const qreal off = line.line.cursorToX(nearest - start) - column;
    const QTextLayout &layout = *line.block.layout();
    if (std::abs(off) <= line.line.height() || !layout.preeditAreaText().isEmpty())
        return nearest;
    const QString text = line.block.text().mid(line.line.textStart(), line.line.textLength());
    return start + positionAt(layout, line.line, text, column, QTextLine::CursorBetweenCharacters);
}

/// Puts a cursor that was moved up or down where it should be. It remembers the column from which
/// it came.
void putIntoLine(QTextCursor *cursor, const SeenLine &line, QTextCursor::MoveMode mode)
{
    const int column = cursor->verticalMovementX();
    const int meant = atColumn(line, cursor->position(), column);
    if (meant == cursor->position())
        return;
    cursor->setPosition(meant, mode);
    cursor->setVerticalMovementX(column);
}

SeenLine lineOf(const QTextCursor &cursor)
{
    const QTextBlock block = cursor.block();
    return {.block = block,
            .line = laidOut(block).lineForTextPosition(cursor.position() - block.position())};
}

SeenLine lineIn(const QTextBlock &block, int number)
{
    if (!block.isValid())
        return {};
    const QTextLayout &layout = laidOut(block);
    if (layout.lineCount() == 0)
        return {};
    return {.block = block, .line = layout.lineAt(number < 0 ? layout.lineCount() - 1 : number)};
}

SeenLine lineBeside(const SeenLine &line, QTextCursor::MoveOperation upOrDown)
{
    if (!line.isValid())
        return {};
    const int number = line.line.lineNumber();
    if (upOrDown == QTextCursor::Up)
        return number > 0 ? lineIn(line.block, number - 1) : lineIn(line.block.previous(), -1);
    const bool isLast = number == line.block.layout()->lineCount() - 1;
    return isLast ? lineIn(line.block.next(), 0) : lineIn(line.block, number + 1);
}

struct LineKey
{
    QKeySequence::StandardKey key;
    QTextCursor::MoveOperation move;
    QTextCursor::MoveMode mode;
};

constexpr std::array lineKeys{
    LineKey{QKeySequence::MoveToNextLine, QTextCursor::Down, QTextCursor::MoveAnchor},
    LineKey{QKeySequence::MoveToPreviousLine, QTextCursor::Up, QTextCursor::MoveAnchor},
    LineKey{QKeySequence::SelectNextLine, QTextCursor::Down, QTextCursor::KeepAnchor},
    LineKey{QKeySequence::SelectPreviousLine, QTextCursor::Up, QTextCursor::KeepAnchor},
    LineKey{QKeySequence::MoveToEndOfLine, QTextCursor::EndOfLine, QTextCursor::MoveAnchor},
    LineKey{QKeySequence::SelectEndOfLine, QTextCursor::EndOfLine, QTextCursor::KeepAnchor},
};

constexpr std::array pageKeys{
    LineKey{QKeySequence::MoveToNextPage, QTextCursor::Down, QTextCursor::MoveAnchor},
    LineKey{QKeySequence::MoveToPreviousPage, QTextCursor::Up, QTextCursor::MoveAnchor},
    LineKey{QKeySequence::SelectNextPage, QTextCursor::Down, QTextCursor::KeepAnchor},
    LineKey{QKeySequence::SelectPreviousPage, QTextCursor::Up, QTextCursor::KeepAnchor},
};

template<typename Keys>
std::optional<LineKey> found(const Keys &keys, const QKeyEvent &event)
{
    for (const LineKey &key : keys) {
        if (event.matches(key.key))
            return key;
    }
    return std::nullopt;
}

/// Lines that come into being on the way do not count as a distance.
int distance(const QTextEdit &text, const QTextCursor &from, const QTextCursor &to)
{
    text.cursorRect(to);
    text.cursorRect(from);
    return std::abs(text.cursorRect(to).top() - text.cursorRect(from).top());
}

QTextCursor::MoveOperation opposite(QTextCursor::MoveOperation upOrDown)
{
    return upOrDown == QTextCursor::Up ? QTextCursor::Down : QTextCursor::Up;
}

} // namespace

bool moveOneLine(QTextCursor *cursor, QTextCursor::MoveOperation upOrDown,
                 QTextCursor::MoveMode mode)
{
    const SeenLine line = lineBeside(lineOf(*cursor), upOrDown);
    if (!line.isValid())
        return false;
    cursor->movePosition(upOrDown, mode);
    putIntoLine(cursor, line, mode);
    return true;
}

std::optional<QTextCursor> meantInstead(const QKeyEvent &key, const QTextCursor &from,
                                        const QTextCursor &to)
{
    const auto lineKey = found(lineKeys, key);
    if (!lineKey)
        return std::nullopt;
    const SeenLine start = lineOf(from);
    if (!start.block.layout()->preeditAreaText().isEmpty())
        return std::nullopt;
    const bool stays = lineKey->move == QTextCursor::EndOfLine;
    const SeenLine line = stays ? start : lineBeside(start, lineKey->move);
    if (!line.isValid())
        return std::nullopt;
    QTextCursor meant = to;
    if (!stays)
        putIntoLine(&meant, line, lineKey->mode);
    else if (line.nearest(to.position()) != to.position())
        meant.setPosition(line.nearest(to.position()), lineKey->mode);
    return meant.position() == to.position() ? std::nullopt : std::optional(meant);
}

bool movePage(QTextEdit *text, const QKeyEvent &key)
{
    const auto page = found(pageKeys, key);
    if (!page)
        return false;
    QTextCursor cursor = text->textCursor();
    int moved = 0;
    int lastMove = 0;
    bool hasMoved = true;
    while (hasMoved && moved < text->viewport()->height()) {
        const QTextCursor before = cursor;
        hasMoved = moveOneLine(&cursor, page->move, page->mode);
        moved += lastMove;
        lastMove = hasMoved ? distance(*text, before, cursor) : 0;
    }
    if (hasMoved) {
        moveOneLine(&cursor, opposite(page->move), page->mode);
        text->verticalScrollBar()->triggerAction(page->move == QTextCursor::Up
                                                     ? QScrollBar::SliderPageStepSub
                                                     : QScrollBar::SliderPageStepAdd);
    }
    text->setTextCursor(cursor);
    return true;
}

} // namespace tarn::console::LineKeys
