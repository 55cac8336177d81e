#include "support/rebuiltview.h"

#include "widgets/caretkeys.h"
#include "widgets/linekeys.h"
#include "widgets/paragraphcolour.h"

#include <QAbstractTextDocumentLayout>
#include <QFontMetricsF>
#include <QResizeEvent>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextLayout>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace tarn::console {

namespace {

/// The absolute flag makes Qt's layout draw at the right edge; the real view does so without it.
void writePresentation(QTextBlockFormat *format, ParagraphPresentation presentation)
{
    const bool rightToLeft = presentation.layoutDirection == Qt::RightToLeft;
    format->setProperty(QTextFormat::LayoutDirection,
                        int(rightToLeft ? Qt::RightToLeft : Qt::LeftToRight));
    format->setProperty(
        QTextFormat::BlockAlignment,
        int(presentation.rightAligned ? Qt::AlignRight | Qt::AlignAbsolute : Qt::AlignLeft));
}

} // namespace

RebuiltView::RebuiltView(const Transcript *transcript, QWidget *parent)
    : QTextEdit(parent)
    , m_transcript(transcript)
{
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setAcceptRichText(false);
    setTabChangesFocus(true);
    document()->setUndoRedoEnabled(false);
    // As long as it can draw images, newer versions of Qt reserve U+FFFC for them; without, as in
    // the real view, they draw it as any other character, which is better in a text without images.
    document()->documentLayout()->unregisterHandler(QTextFormat::ImageObject);
    setTabStopDistance(8 * QFontMetricsF(font()).horizontalAdvance(u' '));
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, [this] { takeScrolling(); });
    connect(verticalScrollBar(), &QScrollBar::rangeChanged, this, [this](int, int maximum) {
        if (m_followEnd && m_isAtEnd)
            verticalScrollBar()->setValue(maximum);
    });
}

bool RebuiltView::followsEnd() const
{
    return verticalScrollBar()->value() >= verticalScrollBar()->maximum();
}

void RebuiltView::refresh()
{
    const bool followed = m_followEnd;
    keep(followed, [this] { rebuild(); });
    m_matchInSight = isMatchInSight();
}

void RebuiltView::present()
{
    rearrange([this] { rebuild(); });
}

void RebuiltView::rebuild()
{
    const int anchor = textCursor().anchor();
    const int position = textCursor().position();
    const bool hadFocus = hasFocus();

    // A scroll bar that other text needed may make the present one need it.
    const QString text = m_transcript->documentText();
    if (text.size() < document()->characterCount() - 1)
        clear();
    // One layout of it all is enough.
    document()->setLayoutEnabled(false);
    setPlainText(text);
    formatBlocks();
    colourBlocks();
    document()->setLayoutEnabled(true);
    completeLayout();

    QTextCursor cursor(document());
    const int last = document()->characterCount() - 1;
    cursor.setPosition(std::clamp(anchor, 0, last));
    cursor.setPosition(std::clamp(position, 0, last), QTextCursor::KeepAnchor);
    setTextCursor(cursor);

    presentDraft();
    if (hadFocus)
        setFocus(Qt::OtherFocusReason);
}

RebuiltView::Place RebuiltView::place() const
{
    const QTextBlock block = cursorForPosition(QPoint(1, 1)).block();
    if (!block.isValid())
        return {};
    const qreal top = document()->documentLayout()->blockBoundingRect(block).top();
    return {block.blockNumber(), int(std::lround(top)) - verticalScrollBar()->value()};
}

void RebuiltView::goTo(bool end, Place place)
{
    QScrollBar *bar = verticalScrollBar();
    const QTextBlock block = document()->findBlockByNumber(place.blockNumber);
    if (end || !block.isValid()) {
        bar->setValue(bar->maximum());
    } else {
        const qreal top = document()->documentLayout()->blockBoundingRect(block).top();
        bar->setValue(std::max(std::min(int(std::lround(top)) - place.offset, bar->maximum()),
                               bar->minimum()));
    }
    m_isAtEnd = end;
}

void RebuiltView::takeScrolling()
{
    m_followEnd = followsEnd();
    m_isAtEnd = m_followEnd;
    m_matchInSight = isMatchInSight();
}

void RebuiltView::keep(bool end, const std::function<void()> &change)
{
    const bool followed = m_followEnd;
    const Place reader = place();
    change();
    completeLayout();
    goTo(end, reader);
    m_followEnd = followed;
}

void RebuiltView::rearrange(const std::function<void()> &change)
{
    const bool wasInSight = m_matchInSight;
    keep(m_followEnd && m_isAtEnd, change);
    const bool followed = m_followEnd;
    const bool atEnd = m_isAtEnd;
    const int value = verticalScrollBar()->value();
    if (wasInSight && isMatch()) {
        const QRect match = matchRect();
        const int below = std::max(0, match.bottom() + 1 - viewport()->height());
        verticalScrollBar()->setValue(value + std::min(match.top(), below));
    }
    m_matchInSight = wasInSight;
    m_followEnd = followed;
    m_isAtEnd = atEnd && verticalScrollBar()->value() == value;
}

bool RebuiltView::isMatch() const
{
    const QTextCursor cursor = textCursor();
    return cursor.hasSelection() && cursor.selectionStart() == m_matchStart
           && cursor.selectionEnd() == m_matchEnd;
}

QRect RebuiltView::matchRect() const
{
    QTextCursor start = textCursor();
    start.setPosition(start.selectionStart());
    QRect rect = cursorRect();
    rect.setTop(std::min(rect.top(), cursorRect(start).top()));
    return rect;
}

bool RebuiltView::isMatchInSight() const
{
    return isMatch() && matchRect().bottom() >= 0 && matchRect().top() < viewport()->height();
}

/// Until the text is laid out to its end and the scroll range says so. A scroll bar that comes or
/// goes changes the width and starts the layout again.
void RebuiltView::completeLayout()
{
    const QAbstractTextDocumentLayout *layout = document()->documentLayout();
    for (int round = 0; round < 4; ++round) {
        const int height = layout->documentSize().toSize().height();
        // An unchanged size only brings the scroll range up to date.
        QResizeEvent sameSize(viewport()->size(), viewport()->size());
        QTextEdit::resizeEvent(&sameSize);
        if (verticalScrollBar()->maximum() == std::max(0, height - viewport()->height()))
            return;
    }
}

/// Positions tell which paragraph a block shows; the paragraph's text may hold separators. Looks on
/// from an earlier one, which begins at `start`.
qsizetype RebuiltView::paragraphOf(const QTextBlock &block, qsizetype from, qsizetype *start) const
{
    const QList<TranscriptParagraph> &paragraphs = m_transcript->paragraphs();
    while (from < paragraphs.size()
           && block.position() > *start + paragraphs.at(from).text.size()) {
        *start += paragraphs.at(from).text.size() + 1;
        ++from;
    }
    return from;
}

void RebuiltView::formatBlocks()
{
    QTextCursor edit(document());
    edit.beginEditBlock();
    qsizetype index = 0;
    qsizetype start = 0;
    for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
        index = paragraphOf(block, index, &start);
        QTextBlockFormat format = block.blockFormat();
        writePresentation(&format, index < m_transcript->paragraphs().size()
                                       ? m_transcript->presentationForParagraph(index)
                                       : ParagraphPresentation());
        QTextCursor(block).setBlockFormat(format);
    }
    edit.endEditBlock();
}

/// As a syntax highlighter does: beside the document.
void RebuiltView::colourBlocks()
{
    qsizetype index = 0;
    qsizetype start = 0;
    for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
        index = paragraphOf(block, index, &start);
        if (index >= m_transcript->paragraphs().size())
            break;
        QTextCharFormat format;
        format.setForeground(paragraphColour(m_transcript->paragraphs().at(index), palette()));
        block.layout()->setFormats({{.start = 0, .length = block.length(), .format = format}});
    }
}

TranscriptFindResult RebuiltView::findLiteral(const QString &text, bool backward)
{
    const QTextCursor from = textCursor();
    const auto result = m_transcript->findLiteral(
        text, backward ? from.selectionStart() : from.selectionEnd(), backward);
    if (result.found) {
        const bool followed = m_followEnd;
        QTextCursor cursor(document());
        cursor.setPosition(int(result.position));
        cursor.setPosition(int(result.position + result.length), QTextCursor::KeepAnchor);
        setTextCursor(cursor);
        ensureCursorVisible();
        m_followEnd = followed;
        m_matchStart = cursor.selectionStart();
        m_matchEnd = cursor.selectionEnd();
        m_matchInSight = isMatchInSight();
    }
    return result;
}

void RebuiltView::setDraftEditor(QTextEdit *editor)
{
    m_draftEditor = editor;
    connect(editor, &QTextEdit::textChanged, this, [this] { presentDraft(); });
    presentDraft();
}

void RebuiltView::presentDraft()
{
    if (!m_draftEditor || m_presentingDraft)
        return;
    m_presentingDraft = true;
    const QTextCursor before = m_draftEditor->textCursor();
    const auto presentation =
        paragraphPresentation(m_transcript->direction(), m_draftEditor->toPlainText());
    QTextBlockFormat format;
    writePresentation(&format, presentation);
    QTextCursor everything(m_draftEditor->document());
    everything.select(QTextCursor::Document);
    everything.mergeBlockFormat(format);
    m_draftEditor->setLayoutDirection(presentation.layoutDirection);
    m_draftEditor->setTextCursor(before);
    m_presentingDraft = false;
}

void RebuiltView::resizeEvent(QResizeEvent *event)
{
    rearrange([this, event] { QTextEdit::resizeEvent(event); });
}

void RebuiltView::changeEvent(QEvent *event)
{
    if (event->type() != QEvent::FontChange) {
        QTextEdit::changeEvent(event);
        return;
    }
    rearrange([this, event] {
        QTextEdit::changeEvent(event);
        setTabStopDistance(8 * QFontMetricsF(font()).horizontalAdvance(u' '));
    });
}

void RebuiltView::keyPressEvent(QKeyEvent *event)
{
    if (!CaretKeys::isCaretKey(*event)) {
        QTextEdit::keyPressEvent(event);
        return;
    }
    if (!textCursor().hasSelection() && !CaretKeys::isCaretInSight(*this)) {
        const bool followed = m_followEnd;
        if (followsEnd())
            CaretKeys::putAtEnd(this);
        else
            CaretKeys::putIntoNearestLineInSight(this);
        m_followEnd = followed;
    }
    const QTextCursor before = textCursor();
    if (!LineKeys::movePage(this, *event)) {
        QTextEdit::keyPressEvent(event);
        if (const auto meant = LineKeys::meantInstead(*event, before, textCursor()))
            setTextCursor(*meant);
    }
    if (CaretKeys::isInLastLine(*this))
        verticalScrollBar()->setValue(verticalScrollBar()->maximum());
    else if (!followsEnd() && CaretKeys::isInFirstLine(*this))
        verticalScrollBar()->setValue(0);
}

void RebuiltView::wheelEvent(QWheelEvent *event)
{
    if (event->modifiers().testFlag(Qt::ControlModifier))
        event->ignore();
    else
        QTextEdit::wheelEvent(event);
}

} // namespace tarn::console
