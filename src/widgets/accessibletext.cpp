#include "widgets/accessibletext.h"

#include <QAbstractTextDocumentLayout>
#include <QFontMetrics>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextEdit>
#include <QTextLayout>

#include <algorithm>

namespace tarn::console {

using namespace Qt::StringLiterals;

AccessibleText::AccessibleText(QTextEdit *view)
    : QAccessibleWidget(view, QAccessible::EditableText)
{
}

QTextEdit *AccessibleText::view() const
{
    return static_cast<QTextEdit *>(widget());
}

QAccessible::State AccessibleText::state() const
{
    QAccessible::State state = QAccessibleWidget::state();
    state.selectableText = true;
    state.multiLine = true;
    state.readOnly = view()->isReadOnly();
    state.editable = !view()->isReadOnly();
    return state;
}

QString AccessibleText::text(QAccessible::Text kind) const
{
    return kind == QAccessible::Value ? view()->toPlainText() : QAccessibleWidget::text(kind);
}

void *AccessibleText::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::TextInterface)
        return static_cast<QAccessibleTextInterface *>(this);
    return QAccessibleWidget::interface_cast(type);
}

void AccessibleText::selection(int index, int *start, int *end) const
{
    const QTextCursor cursor = view()->textCursor();
    const bool selected = index == 0 && cursor.hasSelection();
    *start = selected ? cursor.selectionStart() : 0;
    *end = selected ? cursor.selectionEnd() : 0;
}

int AccessibleText::selectionCount() const
{
    return view()->textCursor().hasSelection() ? 1 : 0;
}

void AccessibleText::addSelection(int start, int end)
{
    setSelection(0, start, end);
}

void AccessibleText::removeSelection(int index)
{
    if (index == 0)
        setCursorPosition(cursorPosition());
}

void AccessibleText::setSelection(int index, int start, int end)
{
    if (index != 0)
        return;
    QTextCursor cursor(view()->document());
    cursor.setPosition(position(start));
    cursor.setPosition(position(end), QTextCursor::KeepAnchor);
    view()->setTextCursor(cursor);
}

int AccessibleText::cursorPosition() const
{
    return view()->textCursor().position();
}

void AccessibleText::setCursorPosition(int position)
{
    setSelection(0, position, position);
}

/// A position within the text. By the IAccessible2 convention, -1 is the end and -2 the caret.
int AccessibleText::position(int offset) const
{
    if (offset == -1)
        return characterCount();
    if (offset == -2)
        return cursorPosition();
    return std::clamp(offset, 0, characterCount());
}

int AccessibleText::characterCount() const
{
    return view()->document()->characterCount() - 1;
}

QString AccessibleText::text(int start, int end) const
{
    QTextCursor cursor(view()->document());
    cursor.setPosition(position(start));
    cursor.setPosition(position(end), QTextCursor::KeepAnchor);
    return cursor.selectedText().replace(QChar::ParagraphSeparator, u'\n');
}

QString AccessibleText::textBetween(QPair<int, int> boundaries, int *start, int *end) const
{
    *start = boundaries.first;
    *end = boundaries.second;
    return text(boundaries.first, boundaries.second);
}

QString AccessibleText::textAtOffset(int offset, QAccessible::TextBoundaryType boundary, int *start,
                                     int *end) const
{
    QTextCursor cursor(view()->document());
    cursor.setPosition(position(offset));
    return textBetween(QAccessible::qAccessibleTextBoundaryHelper(cursor, boundary), start, end);
}

/// The last piece that ends at the offset or before it. Not the one around the character before
/// this piece, as in older versions of Qt: between words, that is this piece again.
QString AccessibleText::textBeforeOffset(int offset, QAccessible::TextBoundaryType boundary,
                                         int *start, int *end) const
{
    QTextCursor cursor(view()->document());
    cursor.setPosition(position(offset));
    const int last = cursor.position();
    auto piece = QAccessible::qAccessibleTextBoundaryHelper(cursor, boundary);
    while (piece.second > last) {
        cursor.setPosition(std::min(piece.first, cursor.position()));
        if (!cursor.movePosition(QTextCursor::PreviousCharacter))
            return textBetween({0, 0}, start, end);
        piece = QAccessible::qAccessibleTextBoundaryHelper(cursor, boundary);
    }
    return textBetween(piece, start, end);
}

/// The first piece that begins after the offset.
QString AccessibleText::textAfterOffset(int offset, QAccessible::TextBoundaryType boundary,
                                        int *start, int *end) const
{
    QTextCursor cursor(view()->document());
    cursor.setPosition(position(offset));
    const int first = cursor.position();
    auto piece = QAccessible::qAccessibleTextBoundaryHelper(cursor, boundary);
    while (piece.first <= first) {
        // Where a piece ends, the next one may begin, or there is only this one again.
        if (piece.second > cursor.position())
            cursor.setPosition(piece.second);
        else if (!cursor.movePosition(QTextCursor::NextCharacter))
            return textBetween({characterCount(), characterCount()}, start, end);
        piece = QAccessible::qAccessibleTextBoundaryHelper(cursor, boundary);
    }
    return textBetween(piece, start, end);
}

/// Where the document begins, on the screen.
QPoint AccessibleText::contentsOrigin() const
{
    const QPoint scrolled(view()->horizontalScrollBar()->value(),
                          view()->verticalScrollBar()->value());
    return view()->viewport()->mapToGlobal(QPoint(0, 0)) - scrolled;
}

QRect AccessibleText::characterRect(int offset) const
{
    const QTextDocument *document = view()->document();
    const QTextBlock block = document->findBlock(offset);
    const QString character = text(offset, offset + 1);
    if (offset < 0 || !block.isValid() || character.isEmpty())
        return QRect();
    const QPointF blockTop = document->documentLayout()->blockBoundingRect(block).topLeft();
    const QTextLine line = block.layout()->lineForTextPosition(offset - block.position());
    if (!line.isValid())
        return QRect();
    const QFontMetrics metrics(document->defaultFont());
    const qreal bottom = blockTop.y() + line.y() + line.ascent() + metrics.descent();
    // A character that is read from right to left begins at its right edge.
    const int inBlock = offset - block.position();
    const qreal leading = blockTop.x() + line.cursorToX(inBlock);
    const qreal trailing = blockTop.x() + line.cursorToX(inBlock, QTextLine::Trailing);
    const int left = static_cast<int>(std::min(leading, trailing));
    const int right = static_cast<int>(std::max(leading, trailing));
    const int y = static_cast<int>(bottom - metrics.height());
    return QRect(contentsOrigin() + QPoint(left, y),
                 QSize(std::max(1, right - left), metrics.height()));
}

int AccessibleText::offsetAtPoint(const QPoint &point) const
{
    const QAbstractTextDocumentLayout *layout = view()->document()->documentLayout();
    return layout->hitTest(point - contentsOrigin(), Qt::ExactHit);
}

void AccessibleText::scrollTo(int position)
{
    QTextCursor cursor(view()->document());
    cursor.setPosition(position);
    const QRect rect = view()->cursorRect(cursor);
    QScrollBar *bar = view()->verticalScrollBar();
    const int below = rect.bottom() + 1 - view()->viewport()->height();
    if (rect.top() < 0)
        bar->setValue(bar->value() + rect.top());
    else if (below > 0)
        bar->setValue(bar->value() + below);
}

void AccessibleText::scrollToSubstring(int start, int end)
{
    // The start last: it matters more where both do not fit.
    scrollTo(position(end));
    scrollTo(position(start));
}

QString AccessibleText::attributes(int offset, int *start, int *end) const
{
    // All text of a paragraph looks the same; only paragraphs differ.
    const QTextBlock block = view()->document()->findBlock(position(offset));
    *start = block.position();
    *end = std::min(block.position() + block.length(), characterCount());
    const QFont font = view()->document()->defaultFont();
    const QString side = block.textDirection() == Qt::RightToLeft
                             ? u"text-align:right;writing-mode:rl;"_s
                             : u"text-align:left;"_s;
    return u"font-family:\"%1\";font-size:%2pt;"_s.arg(font.family(),
                                                       QString::number(font.pointSize()))
           + side + attributesOf(block);
}

QString AccessibleText::attributesOf(const QTextBlock &) const
{
    return {};
}

} // namespace tarn::console
