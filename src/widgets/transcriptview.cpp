#include "widgets/transcriptview.h"

#include "textlayout/lazydocumentlayout.h"
#include "widgets/accessibletranscript.h"
#include "widgets/blockpresentation.h"
#include "widgets/draftpresentation.h"

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
#include <QSignalBlocker>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

#include <algorithm>
#include <memory>

namespace tarn::console {

namespace {

LazyDocumentLayout *installLayout(QTextEdit *view)
{
    auto *layout = new LazyDocumentLayout(view->document(), view->viewport());
    view->document()->setDocumentLayout(layout);
    return layout;
}

} // namespace

TranscriptView::TranscriptView(Transcript *transcript, QWidget *parent)
    : QTextEdit(parent)
    , m_transcript(transcript)
    , m_readingPlace(this, installLayout(this))
{
    AccessibleTranscript::install();
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setFocusPolicy(Qt::StrongFocus);
    setAcceptRichText(false);
    setTabChangesFocus(true);
    document()->setUndoRedoEnabled(false);
}

TranscriptView::~TranscriptView() = default;

void TranscriptView::setCopyAction(QAction *action)
{
    m_copyAction = action;
}

void TranscriptView::refresh()
{
    showChanges([this] { updateDocument(); });
}

void TranscriptView::setContentDirection(ContentDirection direction)
{
    // The direction holds for every text that undo could bring back, so undo starts afresh.
    if (m_draftEditor && direction != m_transcript->direction())
        m_draftEditor->document()->clearUndoRedoStacks();
    // The texts stay as they are, once the last changes are shown.
    showChanges([this, direction] {
        updateDocument();
        m_transcript->setDirection(direction);
        applyParagraphFormats();
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
    m_transcript->acknowledgePendingUpdates();
    m_shownAcknowledgement = m_transcript->changes().acknowledgement;
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

void TranscriptView::updateDocument()
{
    const TranscriptChanges &changes = m_transcript->changes();
    if (changes.everything || changes.acknowledgement != m_shownAcknowledgement) {
        rebuildDocument();
        return;
    }
    // No common edit block: it would lay out everything between them again.
    for (const TranscriptChanges::Extension &extension : changes.extended)
        extendParagraph(extension);
    appendParagraphs(changes.firstNew, changes.lastWasTerminated);
}

void TranscriptView::rebuildDocument()
{
    m_blockMap.clear();
    // Laid out empty for a moment, so that a scroll bar that is no longer needed goes: a text that
    // fits without it may be too high beside it.
    document()->clear();
    QTextCursor cursor(document());
    cursor.beginEditBlock();
    cursor.setBlockFormat(blockFormatFor({}));
    appendParagraphs(0, false);
    cursor.endEditBlock();
}

void TranscriptView::extendParagraph(const TranscriptChanges::Extension &extension)
{
    const QString &text = m_transcript->paragraphs()[extension.paragraph].text;
    const QStringView added = QStringView(text).sliced(extension.shownLength);
    const qint64 lastBlock = m_blockMap.firstBlock(extension.paragraph + 1) - 1;
    const QTextBlock block = document()->findBlockByNumber(static_cast<int>(lastBlock));

    // By position and in an edit block: a movement would shape the block first, and an insertion
    // alone afterwards.
    QTextCursor cursor(block);
    cursor.beginEditBlock();
    cursor.setPosition(block.position() + block.length() - 1);
    cursor.insertText(added.toString());
    cursor.endEditBlock();
    m_blockMap.extendParagraph(extension.paragraph, added);
    presentParagraph(extension.paragraph);
}

/// The first strong character may only now have arrived.
void TranscriptView::presentParagraph(qint64 paragraph)
{
    // A screen reader has just heard the new text, and knows the other.
    const QSignalBlocker silence(document());
    const auto presentation = m_transcript->presentationForParagraph(paragraph);
    const qint64 end = m_blockMap.firstBlock(paragraph + 1);
    for (qint64 number = m_blockMap.firstBlock(paragraph); number < end; ++number) {
        QTextCursor cursor(document()->findBlockByNumber(static_cast<int>(number)));
        if (!hasBlockPresentation(cursor.blockFormat(), presentation))
            cursor.mergeBlockFormat(blockFormatFor(presentation));
    }
}

/// Adds the paragraphs from an index on, and the empty block after a last line break.
void TranscriptView::appendParagraphs(qint64 first, bool previousWasTerminated)
{
    const qint64 count = m_transcript->paragraphs().size();
    if (count == 0)
        return;
    const bool terminated = m_transcript->isParagraphTerminated(count - 1);
    if (first == count && terminated == previousWasTerminated)
        return;

    QTextCursor cursor(document());
    cursor.beginEditBlock();
    cursor.setPosition(document()->characterCount() - 1);
    bool inFreshBlock = first == 0 || previousWasTerminated;
    while (first < count) {
        const QTextBlockFormat format =
            blockFormatFor(m_transcript->presentationForParagraph(first));
        // The format goes first: the blocks of the run inherit it.
        if (inFreshBlock)
            cursor.setBlockFormat(format);
        else
            cursor.insertBlock(format);
        inFreshBlock = false;
        first = appendRun(cursor, first);
    }
    if (terminated)
        cursor.insertBlock(blockFormatFor({}));
    cursor.endEditBlock();
}

/// Inserts the paragraphs that share the presentation of the first, in one piece; returns the
/// index after the last.
qint64 TranscriptView::appendRun(QTextCursor &cursor, qint64 first)
{
    const QList<TranscriptParagraph> &paragraphs = m_transcript->paragraphs();
    const auto presentation = m_transcript->presentationForParagraph(first);
    QString text;
    qint64 index = first;
    do {
        if (index > first)
            text.append(u'\n');
        text.append(paragraphs[index].text);
        m_blockMap.appendParagraph(paragraphs[index].text);
        ++index;
    } while (index < paragraphs.size()
             && m_transcript->presentationForParagraph(index) == presentation);
    cursor.insertText(text);
    return index;
}

void TranscriptView::applyParagraphFormats()
{
    // The text stays: a screen reader must not hear all of it once more.
    const QSignalBlocker silence(document());
    QTextCursor edit(document());
    // Outside one edit block, every single format would be a layout pass of its own.
    edit.beginEditBlock();
    for (QTextBlock block = document()->begin(); block.isValid();)
        block = presentRun(block);
    edit.endEditBlock();
}

/// Gives a block and those after it that share its presentation that presentation, in one piece;
/// returns the block after the last.
QTextBlock TranscriptView::presentRun(QTextBlock block)
{
    const ParagraphPresentation presentation = presentationOfBlock(block.blockNumber());
    const int start = block.position();
    int end = start;
    bool presented = true;
    int number = block.blockNumber();
    do {
        presented = presented && hasBlockPresentation(block.blockFormat(), presentation);
        end = block.position();
        block = block.next();
        ++number;
    } while (block.isValid() && presentationOfBlock(number) == presentation);
    if (!presented) {
        QTextCursor cursor(document());
        cursor.setPosition(start);
        cursor.setPosition(end, QTextCursor::KeepAnchor);
        cursor.mergeBlockFormat(blockFormatFor(presentation));
    }
    return block;
}

ParagraphPresentation TranscriptView::presentationOfBlock(int number) const
{
    const qint64 paragraph = m_blockMap.paragraphOfBlock(number);
    // Behind the last paragraph, and before anything is shown, there is an empty block.
    if (paragraph
        >= std::min<qint64>(m_blockMap.paragraphCount(), m_transcript->paragraphs().size()))
        return {};
    return m_transcript->presentationForParagraph(paragraph);
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
    QTextEdit::keyPressEvent(event);
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
    return {QTextEdit::minimumSizeHint().width(), line + 2 * frameWidth()};
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
