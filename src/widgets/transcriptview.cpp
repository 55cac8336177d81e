#include "widgets/transcriptview.h"

#include "widgets/accessibletranscript.h"
#include "widgets/draftpresentation.h"
#include "widgets/readingstart.h"

#include <QAction>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QCoreApplication>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QTextCursor>
#include <QTextDocument>

#include <algorithm>
#include <memory>

namespace tarn::console {

namespace {

QAccessibleInterface *accessibleTranscript(const QString &, QObject *object)
{
    auto *view = dynamic_cast<TranscriptView *>(object);
    return view ? new AccessibleTranscript(view) : nullptr;
}

} // namespace

TranscriptView::TranscriptView(Transcript *transcript, QWidget *parent)
    : ConsoleTextEdit(parent)
    , m_transcript(transcript)
    , m_writer(transcript, document())
    , m_readingPlace(this, lazyLayout())
{
    QAccessible::installFactory(accessibleTranscript);
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setFocusPolicy(Qt::StrongFocus);
    document()->setUndoRedoEnabled(false);
    new ReadingStart(this);
}

TranscriptView::~TranscriptView() = default;

void TranscriptView::setCopyAction(QAction *action)
{
    m_copyAction = action;
}

void TranscriptView::refresh()
{
    showChanges([this] { m_writer.update(); });
}

void TranscriptView::setContentDirection(ContentDirection direction)
{
    // The direction holds for every text that undo could bring back, so undo starts afresh.
    if (m_draftEditor && direction != m_transcript->direction())
        m_draftEditor->document()->clearUndoRedoStacks();
    // The texts stay as they are, once the last changes are shown.
    showChanges([this, direction] {
        m_writer.update();
        m_transcript->setDirection(direction);
        m_writer.applyFormats();
    });
}

/// Brings the document up to date, and everything that goes with it.
void TranscriptView::showChanges(const std::function<void()> &update)
{
    const int anchor = textCursor().anchor();
    const int position = textCursor().position();
    const bool hadFocus = hasFocus();
    m_readingPlace.keep([&] {
        update();
        restoreCursor(anchor, position);
    });
    applyDraftPresentation();
    m_writer.acknowledge();
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
    m_readingPlace.keep([this, event] { ConsoleTextEdit::resizeEvent(event); });
}

void TranscriptView::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::FontChange)
        m_readingPlace.keep([this, event] { ConsoleTextEdit::changeEvent(event); });
    else
        ConsoleTextEdit::changeEvent(event);
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
        m_readingPlace.visit([this, &cursor] {
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
    ConsoleTextEdit::keyPressEvent(event);
}

void TranscriptView::contextMenuEvent(QContextMenuEvent *event)
{
    QMenu menu(this);
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

QSize TranscriptView::minimumSizeHint() const
{
    const int line = QFontMetrics(font()).lineSpacing() + qRound(2 * document()->documentMargin());
    return {ConsoleTextEdit::minimumSizeHint().width(), line + 2 * frameWidth()};
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
    // Changing the format below changes the document, which asks for its presentation again.
    if (!m_draftEditor || m_applyingDraftPresentation)
        return;
    const QScopedValueRollback guard(m_applyingDraftPresentation, true);

    const QString text = m_draftEditor->toPlainText();
    presentDraft(m_draftEditor, paragraphPresentation(m_transcript->direction(), text));
}

} // namespace tarn::console
