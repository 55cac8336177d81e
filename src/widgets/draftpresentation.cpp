#include "widgets/draftpresentation.h"

#include "widgets/blockpresentation.h"

#include <QSignalBlocker>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextEdit>

#include <algorithm>

namespace tarn::console {

namespace {

bool isPresented(const QTextDocument *document, ParagraphPresentation presentation)
{
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        if (!hasBlockPresentation(block.blockFormat(), presentation))
            return false;
    }
    return true;
}

void presentBlocks(QTextCursor &cursor, ParagraphPresentation presentation)
{
    cursor.select(QTextCursor::Document);
    cursor.mergeBlockFormat(blockFormatFor(presentation));
}

/// Turns one text into another by replacing only what differs.
void replaceDifference(QTextCursor &cursor, const QString &before, const QString &after)
{
    const auto start = std::mismatch(before.begin(), before.end(), after.begin(), after.end());
    const auto prefix = static_cast<int>(start.first - before.begin());
    int suffix = 0;
    while (suffix < std::min(before.size(), after.size()) - prefix
           && before[before.size() - 1 - suffix] == after[after.size() - 1 - suffix])
        ++suffix;
    cursor.setPosition(prefix);
    cursor.setPosition(static_cast<int>(before.size()) - suffix, QTextCursor::KeepAnchor);
    cursor.insertText(after.mid(prefix, after.size() - suffix - prefix));
}

/// Makes one undo step of the last edit and the presentation. QTextCursor::joinPreviousEditBlock()
/// cannot do that for typed text, which is in no edit block, so the edit is made once more.
void presentWithLastEdit(QTextDocument *document, ParagraphPresentation presentation)
{
    const QString after = document->toRawText();
    document->undo();
    const QString before = document->toRawText();
    QTextCursor cursor(document);
    cursor.beginEditBlock();
    replaceDifference(cursor, before, after);
    presentBlocks(cursor, presentation);
    cursor.endEditBlock();
}

void presentWithoutUndoStep(QTextDocument *document, ParagraphPresentation presentation)
{
    document->setUndoRedoEnabled(false);
    QTextCursor cursor(document);
    presentBlocks(cursor, presentation);
    document->setUndoRedoEnabled(true);
}

} // namespace

void presentDraft(QTextEdit *draft, ParagraphPresentation presentation)
{
    QTextDocument *document = draft->document();
    if (!isPresented(document, presentation)) {
        // The text stays what it is; nobody needs to hear of the ways there.
        const QSignalBlocker blocker(draft);
        const int anchor = draft->textCursor().anchor();
        const int position = draft->textCursor().position();
        if (document->isUndoAvailable())
            presentWithLastEdit(document, presentation);
        else
            presentWithoutUndoStep(document, presentation);
        QTextCursor cursor(document);
        cursor.setPosition(anchor);
        cursor.setPosition(position, QTextCursor::KeepAnchor);
        draft->setTextCursor(cursor);
    }
    draft->setLayoutDirection(presentation.layoutDirection);
}

} // namespace tarn::console
