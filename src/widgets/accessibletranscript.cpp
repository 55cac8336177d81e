#include "widgets/accessibletranscript.h"

#include "widgets/paragraphcolour.h"

#include <QAbstractTextDocumentLayout>
#include <QColor>
#include <QCoreApplication>
#include <QFontMetrics>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextEdit>
#include <QTextLayout>

#include <algorithm>
#include <utility>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

/// What a screen reader says of a paragraph, beside its text.
QString nameOf(ParagraphVoice voice)
{
    switch (voice) {
    case ParagraphVoice::Output:
        break;
    case ParagraphVoice::Error:
        return QCoreApplication::translate("tarn::console::ConsoleWindow", "Program errors");
    case ParagraphVoice::Echo:
        return QCoreApplication::translate("tarn::console::ConsoleWindow", "Program input");
    case ParagraphVoice::Notice:
        return QCoreApplication::translate("tarn::console::ConsoleWindow", "Notice");
    }
    return QCoreApplication::translate("tarn::console::ConsoleWindow", "Program output");
}

} // namespace

AccessibleTranscript::AccessibleTranscript(QTextEdit *view, ParagraphOf paragraphOf)
    : QAccessibleWidget(view, QAccessible::EditableText)
    , m_paragraphOf(std::move(paragraphOf))
    , m_toldVoice(voiceAtCaret())
{
    QObject::connect(view, &QTextEdit::cursorPositionChanged, &m_context, [this] { tellVoice(); });
}

AccessibleTranscript::~AccessibleTranscript() = default;

QTextEdit *AccessibleTranscript::view() const
{
    return static_cast<QTextEdit *>(widget());
}

QAccessible::State AccessibleTranscript::state() const
{
    QAccessible::State state = QAccessibleWidget::state();
    state.selectableText = true;
    state.multiLine = true;
    state.readOnly = true;
    return state;
}

QString AccessibleTranscript::text(QAccessible::Text kind) const
{
    if (kind == QAccessible::Value)
        return view()->toPlainText();
    const QString text = QAccessibleWidget::text(kind);
    return kind == QAccessible::Description && text.isEmpty() ? voiceAtCaret() : text;
}

void *AccessibleTranscript::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::TextInterface)
        return static_cast<QAccessibleTextInterface *>(this);
    return QAccessibleWidget::interface_cast(type);
}

void AccessibleTranscript::selection(int index, int *start, int *end) const
{
    const QTextCursor cursor = view()->textCursor();
    const bool selected = index == 0 && cursor.hasSelection();
    *start = selected ? cursor.selectionStart() : 0;
    *end = selected ? cursor.selectionEnd() : 0;
}

int AccessibleTranscript::selectionCount() const
{
    return view()->textCursor().hasSelection() ? 1 : 0;
}

void AccessibleTranscript::addSelection(int start, int end)
{
    setSelection(0, start, end);
}

void AccessibleTranscript::removeSelection(int index)
{
    if (index == 0)
        setCursorPosition(cursorPosition());
}

void AccessibleTranscript::setSelection(int index, int start, int end)
{
    if (index != 0)
        return;
    QTextCursor cursor(view()->document());
    cursor.setPosition(position(start));
    cursor.setPosition(position(end), QTextCursor::KeepAnchor);
    view()->setTextCursor(cursor);
}

int AccessibleTranscript::cursorPosition() const
{
    return view()->textCursor().position();
}

void AccessibleTranscript::setCursorPosition(int position)
{
    setSelection(0, position, position);
}

/// A position within the text. By the IAccessible2 convention, -1 is the end and -2 the caret.
int AccessibleTranscript::position(int offset) const
{
    if (offset == -1)
        return characterCount();
    if (offset == -2)
        return cursorPosition();
    return std::clamp(offset, 0, characterCount());
}

int AccessibleTranscript::characterCount() const
{
    return view()->document()->characterCount() - 1;
}

QString AccessibleTranscript::text(int start, int end) const
{
    QTextCursor cursor(view()->document());
    cursor.setPosition(position(start));
    cursor.setPosition(position(end), QTextCursor::KeepAnchor);
    return cursor.selectedText().replace(QChar::ParagraphSeparator, u'\n');
}

QString AccessibleTranscript::textBetween(QPair<int, int> boundaries, int *start, int *end) const
{
    *start = boundaries.first;
    *end = boundaries.second;
    return text(boundaries.first, boundaries.second);
}

QString AccessibleTranscript::textAtOffset(int offset, QAccessible::TextBoundaryType boundary,
                                           int *start, int *end) const
{
    QTextCursor cursor(view()->document());
    cursor.setPosition(position(offset));
    return textBetween(QAccessible::qAccessibleTextBoundaryHelper(cursor, boundary), start, end);
}

/// The last piece that ends at the offset or before it. Not the one around the character before
/// this piece, as in older versions of Qt: between words, that is this piece again.
QString AccessibleTranscript::textBeforeOffset(int offset, QAccessible::TextBoundaryType boundary,
                                               int *start, int *end) const
{
    QTextCursor cursor(view()->document());
    cursor.setPosition(position(offset));
    const int last = cursor.position();
    auto piece = QAccessible::qAccessibleTextBoundaryHelper(cursor, boundary);
    if (piece.second > last)
        cursor.setPosition(piece.first);
    while (piece.second > last) {
        if (!cursor.movePosition(QTextCursor::PreviousCharacter))
            return textBetween({0, 0}, start, end);
        piece = QAccessible::qAccessibleTextBoundaryHelper(cursor, boundary);
    }
    return textBetween(piece, start, end);
}

/// The first piece that begins after the offset.
QString AccessibleTranscript::textAfterOffset(int offset, QAccessible::TextBoundaryType boundary,
                                              int *start, int *end) const
{
    QTextCursor cursor(view()->document());
    cursor.setPosition(position(offset));
    const int first = cursor.position();
    auto piece = QAccessible::qAccessibleTextBoundaryHelper(cursor, boundary);
    if (piece.first <= first)
        cursor.setPosition(piece.second);
    while (piece.first <= first) {
        if (!cursor.movePosition(QTextCursor::NextCharacter))
            return textBetween({characterCount(), characterCount()}, start, end);
        piece = QAccessible::qAccessibleTextBoundaryHelper(cursor, boundary);
    }
    return textBetween(piece, start, end);
}

/// Where the document begins, on the screen.
QPoint AccessibleTranscript::contentsOrigin() const
{
    const QPoint scrolled(view()->horizontalScrollBar()->value(),
                          view()->verticalScrollBar()->value());
    return view()->viewport()->mapToGlobal(QPoint(0, 0)) - scrolled;
}

QRect AccessibleTranscript::characterRect(int offset) const
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

int AccessibleTranscript::offsetAtPoint(const QPoint &point) const
{
    const QAbstractTextDocumentLayout *layout = view()->document()->documentLayout();
    return layout->hitTest(point - contentsOrigin(), Qt::ExactHit);
}

void AccessibleTranscript::scrollTo(int position)
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

void AccessibleTranscript::scrollToSubstring(int start, int end)
{
    // The start last: it matters more where both do not fit.
    scrollTo(position(end));
    scrollTo(position(start));
}

QString AccessibleTranscript::attributes(int offset, int *start, int *end) const
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
           + side + voiceAttributes(block);
}

QString AccessibleTranscript::voiceAtCaret() const
{
    const TranscriptParagraph *paragraph = m_paragraphOf(view()->textCursor().block());
    return nameOf(paragraph ? voiceOf(*paragraph) : ParagraphVoice::Output);
}

void AccessibleTranscript::tellVoice()
{
    const QString voice = voiceAtCaret();
    if (voice == m_toldVoice)
        return;
    m_toldVoice = voice;
    QAccessibleEvent event(view(), QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&event);
}

/// Whose words they are, as a colour and in words.
QString AccessibleTranscript::voiceAttributes(const QTextBlock &block) const
{
    const TranscriptParagraph *paragraph = m_paragraphOf(block);
    if (!paragraph)
        return {};
    const QColor colour = paragraphColour(*paragraph, view()->palette());
    return u"color:rgb(%1,%2,%3);paragraph-style:%4;"_s.arg(
        QString::number(colour.red()), QString::number(colour.green()),
        QString::number(colour.blue()), nameOf(voiceOf(*paragraph)));
}

} // namespace tarn::console
