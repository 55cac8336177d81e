#include "widgets/caretkeys.h"

#include "widgets/linekeys.h"

#include <QKeyEvent>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextEdit>
#include <QTextLayout>

#include <algorithm>
#include <array>

namespace tarn::console::CaretKeys {

namespace {

constexpr std::array moves{
    QKeySequence::MoveToNextChar,        QKeySequence::MoveToPreviousChar,
    QKeySequence::MoveToNextWord,        QKeySequence::MoveToPreviousWord,
    QKeySequence::MoveToNextLine,        QKeySequence::MoveToPreviousLine,
    QKeySequence::MoveToNextPage,        QKeySequence::MoveToPreviousPage,
    QKeySequence::MoveToStartOfLine,     QKeySequence::MoveToEndOfLine,
    QKeySequence::MoveToStartOfBlock,    QKeySequence::MoveToEndOfBlock,
    QKeySequence::MoveToStartOfDocument, QKeySequence::MoveToEndOfDocument,
    QKeySequence::SelectNextChar,        QKeySequence::SelectPreviousChar,
    QKeySequence::SelectNextWord,        QKeySequence::SelectPreviousWord,
    QKeySequence::SelectNextLine,        QKeySequence::SelectPreviousLine,
    QKeySequence::SelectNextPage,        QKeySequence::SelectPreviousPage,
    QKeySequence::SelectStartOfLine,     QKeySequence::SelectEndOfLine,
    QKeySequence::SelectStartOfBlock,    QKeySequence::SelectEndOfBlock,
    QKeySequence::SelectStartOfDocument, QKeySequence::SelectEndOfDocument,
};

/// The start of the line at a height of the viewport.
QTextCursor lineAt(const QTextEdit &text, int y)
{
    QTextCursor cursor = text.cursorForPosition(QPoint(0, y));
    const QTextBlock block = cursor.block();
    const QTextLayout &layout = *block.layout();
    for (int i = layout.lineCount() - 1; i >= 0; --i) {
        cursor.setPosition(block.position() + layout.lineAt(i).textStart());
        if (text.cursorRect(cursor).top() <= y)
            break;
    }
    return cursor;
}

} // namespace

bool isCaretKey(const QKeyEvent &event)
{
    return std::any_of(moves.begin(), moves.end(),
                       [&event](QKeySequence::StandardKey move) { return event.matches(move); });
}

bool isCaretInSight(const QTextEdit &text)
{
    const QRect caret = text.cursorRect();
    return caret.bottom() >= 0 && caret.top() < text.viewport()->height();
}

void putIntoNearestLineInSight(QTextEdit *text)
{
    const int bottom = text->viewport()->height() - 1;
    const bool above = text->cursorRect().top() < 0;
    QTextCursor line = lineAt(*text, above ? 0 : bottom);
    const QRect rect = text->cursorRect(line);
    // The line at the edge may be cut off; its neighbour is whole.
    if (above && rect.top() < 0)
        line = lineAt(*text, rect.bottom() + 2);
    else if (!above && rect.bottom() > bottom)
        line = lineAt(*text, rect.top() - 1);
    text->setTextCursor(line);
}

void putAtEnd(QTextEdit *text)
{
    QTextCursor end = text->textCursor();
    end.movePosition(QTextCursor::End);
    text->setTextCursor(end);
}

bool isInFirstLine(const QTextEdit &text)
{
    QTextCursor caret = text.textCursor();
    return caret.block() == text.document()->firstBlock()
           && !LineKeys::moveOneLine(&caret, QTextCursor::Up, QTextCursor::MoveAnchor);
}

bool isInLastLine(const QTextEdit &text)
{
    QTextCursor caret = text.textCursor();
    return caret.block() == text.document()->lastBlock()
           && !LineKeys::moveOneLine(&caret, QTextCursor::Down, QTextCursor::MoveAnchor);
}

} // namespace tarn::console::CaretKeys
