#include "widgets/transcriptview.h"

#include "textlayout/lazydocumentlayout.h"
#include "widgets/accessibletranscript.h"
#include "widgets/caretkeys.h"
#include "widgets/draftpresentation.h"
#include "widgets/paragraphcolour.h"
#include "widgets/readingstart.h"

#include <QAction>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

#include <algorithm>
#include <memory>

namespace tarn::console {

namespace {

QAccessibleInterface *accessibleTranscript(const QString &, QObject *object)
{
    auto *view = dynamic_cast<TranscriptView *>(object);
    if (!view)
        return nullptr;
    return new AccessibleTranscript(
        view, [view](const QTextBlock &block) { return view->originOf(block); });
}

} // namespace

TranscriptView::TranscriptView(Transcript *transcript, QWidget *parent)
    : ConsoleTextEdit(
        parent,
        [this](const QTextBlock &block, const QPalette &palette) {
            return colourOf(block, palette);
        },
        [this](int number, qsizetype length) { return m_writer.textOfBlock(number, length); })
    , m_transcript(transcript)
    , m_writer(transcript, document())
    , m_readingPlace(this, lazyLayout())
    , m_paintPace(viewport())
{
    QAccessible::installFactory(accessibleTranscript);
    lazyLayout()->setRoomForCaret(true);
    lazyLayout()->setKeepsEscapes(true);
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setFocusPolicy(Qt::StrongFocus);
    document()->setUndoRedoEnabled(false);
    new ReadingStart(this);
}

TranscriptView::~TranscriptView() = default;

QColor TranscriptView::colourOf(const QTextBlock &block, const QPalette &palette) const
{
    const auto paragraph = originOf(block);
    return paragraph ? paragraphColour(*paragraph, palette) : palette.color(QPalette::Text);
}

std::optional<TranscriptParagraph> TranscriptView::originOf(const QTextBlock &block) const
{
    return m_writer.originOfBlock(block.blockNumber());
}

void TranscriptView::setCopyAction(QAction *action)
{
    m_copyAction = action;
}

void TranscriptView::refresh()
{
    m_paintPace.change([this] { showChanges(&ReadingPlace::keep, [this] { m_writer.update(); }); });
}

void TranscriptView::setContentDirection(ContentDirection direction)
{
    // The direction holds for every text that undo could bring back, so undo starts afresh.
    if (m_draftEditor && direction != m_transcript->direction())
        m_draftEditor->document()->clearUndoRedoStacks();
    // From within an update, which goes on with it.
    if (m_writer.isUpdating()) {
        m_transcript->setDirection(direction);
        return;
    }
    // The texts stay as they are, once the last changes are shown.
    showChanges(&ReadingPlace::rearrange, [this, direction] {
        m_writer.update();
        const auto keeping = lazyLayout()->keepTexts();
        m_writer.setDirection(direction);
    });
}

/// Brings the document up to date, and everything that goes with it.
void TranscriptView::showChanges(KeepPlace keepPlace, const std::function<void()> &update)
{
    // From within an update, which shows what has changed meanwhile.
    if (m_writer.isUpdating())
        return;
    const int anchor = textCursor().anchor();
    const int position = textCursor().position();
    const bool hadFocus = hasFocus();
    (m_readingPlace.*keepPlace)([&] {
        update();
        restoreCursor(anchor, position);
    });
    applyDraftPresentation();
    if (hadFocus)
        setFocus(Qt::OtherFocusReason);
}

void TranscriptView::restoreCursor(int anchor, int position)
{
    const int last = document()->characterCount() - 1;
    anchor = std::clamp(anchor, 0, last);
    position = std::clamp(position, 0, last);
    // Text inserted before the cursor moved it, but a selection is a pair of fixed positions.
    QTextCursor cursor(document());
    cursor.setPosition(anchor);
    cursor.setPosition(position, QTextCursor::KeepAnchor);
    setTextCursor(cursor);
}

void TranscriptView::applyParagraphFormats()
{
    m_writer.applyFormats();
}

bool TranscriptView::followsEnd() const
{
    return m_readingPlace.isAtEnd();
}

TranscriptView::ScrollAnchor TranscriptView::scrollAnchor() const
{
    return m_readingPlace.anchor();
}

void TranscriptView::restoreScrollAnchor(ScrollAnchor anchor)
{
    m_readingPlace.goTo(anchor);
}

/// What comes into view on the way there can move the cursor out of it again.
void TranscriptView::scrollToCursor()
{
    constexpr int maximumRounds = 4;
    for (int round = 0; round < maximumRounds; ++round) {
        const int before = verticalScrollBar()->value();
        ensureCursorVisible();
        if (verticalScrollBar()->value() == before)
            return;
    }
}

void TranscriptView::resizeEvent(QResizeEvent *event)
{
    m_readingPlace.rearrange([this, event] { ConsoleTextEdit::resizeEvent(event); });
}

/// The base class scrolls to the caret, which is at the beginning.
void TranscriptView::showEvent(QShowEvent *event)
{
    m_readingPlace.keep([this, event] { ConsoleTextEdit::showEvent(event); });
}

void TranscriptView::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::FontChange)
        m_readingPlace.rearrange([this, event] { ConsoleTextEdit::changeEvent(event); });
    else
        ConsoleTextEdit::changeEvent(event);
}

/// A caret that is shown or hidden has its paragraph measured, which may be far above.
void TranscriptView::focusInEvent(QFocusEvent *event)
{
    ConsoleTextEdit::focusInEvent(event);
    m_readingPlace.takeMoves();
}

void TranscriptView::focusOutEvent(QFocusEvent *event)
{
    ConsoleTextEdit::focusOutEvent(event);
    m_readingPlace.takeMoves();
}

void TranscriptView::paintEvent(QPaintEvent *event)
{
    ConsoleTextEdit::paintEvent(event);
    m_paintPace.notePainting(*event);
}

void TranscriptView::scrollContentsBy(int dx, int dy)
{
    if (!m_paintPace.paintsAnew())
        ConsoleTextEdit::scrollContentsBy(dx, dy);
}

TranscriptFindResult TranscriptView::findLiteral(const QString &text, bool backward)
{
    QTextCursor cursor = textCursor();
    const int start = backward ? cursor.selectionStart() : cursor.selectionEnd();
    const TranscriptFindResult result = m_transcript->findLiteral(text, start, backward);
    if (result.found) {
        cursor.setPosition(static_cast<int>(result.position));
        cursor.setPosition(static_cast<int>(result.position + result.length),
                           QTextCursor::KeepAnchor);
        m_readingPlace.measureAround(cursor.position());
        m_readingPlace.visitMatch([this, &cursor] {
            setTextCursor(cursor);
            scrollToCursor();
        });
    }
    return result;
}

void TranscriptView::copySelection()
{
    const QTextCursor cursor = textCursor();
    if (!cursor.hasSelection())
        return;
    QGuiApplication::clipboard()->setText(
        m_transcript->copy(cursor.selectionStart(), cursor.selectionEnd()));
}

QMimeData *TranscriptView::createMimeDataFromSelection() const
{
    // Drags and the X11 selection carry what the program printed, as plain text only.
    const QTextCursor cursor = textCursor();
    auto data = std::make_unique<QMimeData>();
    data->setText(m_transcript->copy(cursor.selectionStart(), cursor.selectionEnd()));
    return data.release();
}

void TranscriptView::keyPressEvent(QKeyEvent *event)
{
    if (!m_copyAction && event->matches(QKeySequence::Copy)) {
        copySelection();
        event->accept();
        return;
    }
    const bool movesCaret = CaretKeys::isCaretKey(*event);
    if (movesCaret) {
        measureBeforeKey();
        bringCaretIntoSight();
        m_readingPlace.measurePagesBeside();
    } else if (event->key() == Qt::Key_Space) {
        // Turns a page, with Shift backwards.
        m_readingPlace.measurePagesBeside();
    }
    ConsoleTextEdit::keyPressEvent(event);
    if (movesCaret)
        showEndsAtTheCaret();
}

/// Above the first line and below the last one there is a margin, which the caret never needs.
void TranscriptView::showEndsAtTheCaret()
{
    QScrollBar *bar = verticalScrollBar();
    if (CaretKeys::isInLastLine(*this))
        bar->setValue(bar->maximum());
    else if (!followsEnd() && CaretKeys::isInFirstLine(*this))
        bar->setValue(bar->minimum());
}

/// To ask where the caret is measures its paragraph, which may be far above and move everything.
void TranscriptView::measureBeforeKey()
{
    cursorRect();
    m_readingPlace.measurePagesBeside();
}

/// The keys go on from where the user looks. A selection is to be extended instead.
void TranscriptView::bringCaretIntoSight()
{
    if (textCursor().hasSelection() || CaretKeys::isCaretInSight(*this))
        return;
    m_readingPlace.visit([this] {
        if (followsEnd())
            CaretKeys::putAtEnd(this);
        else
            CaretKeys::putIntoNearestLineInSight(this);
    });
}

void TranscriptView::contextMenuEvent(QContextMenuEvent *event)
{
    QMenu menu(this);
    menu.setObjectName("transcriptMenu");
    QAction *copy = m_copyAction;
    if (copy)
        menu.addAction(copy);
    else
        copy = menu.addAction(QCoreApplication::translate("QTextEdit", "Copy"));
    copy->setEnabled(textCursor().hasSelection());
    const QAction *selectEverything =
        menu.addAction(QCoreApplication::translate("QTextEdit", "Select all"));

    const QAction *chosen = menu.exec(event->globalPos());
    if (!chosen)
        return;
    if (chosen == copy)
        copySelection();
    else if (chosen == selectEverything)
        selectAll();
}

int TranscriptView::lineHeight() const
{
    return lazyLayout()->lineHeights().plain;
}

QSize TranscriptView::minimumSizeHint() const
{
    const int lines = lineHeight() + lazyLayout()->lineHeights().last;
    const int margins = qRound(2 * document()->documentMargin()) + frameHeight();
    return {ConsoleTextEdit::minimumSizeHint().width(), lines + margins};
}

void TranscriptView::setDraftEditor(QTextEdit *editor)
{
    m_draftEditor = editor;
    if (editor)
        connect(editor, &QTextEdit::textChanged, this, [this] { applyDraftPresentation(); });
    applyDraftPresentation();
}

void TranscriptView::applyDraftPresentation()
{
    if (!m_draftEditor)
        return;
    const QString text = m_draftEditor->toPlainText();
    presentDraft(m_draftEditor, paragraphPresentation(m_transcript->direction(), text));
}

} // namespace tarn::console
