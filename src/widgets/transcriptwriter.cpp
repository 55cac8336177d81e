#include "widgets/transcriptwriter.h"

#include "widgets/blockpresentation.h"

#include <QScopedValueRollback>
#include <QSignalBlocker>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

#include <algorithm>

namespace tarn::console {

TranscriptWriter::TranscriptWriter(Transcript *transcript, QTextDocument *document)
    : m_transcript(transcript)
    , m_document(document)
{
}

void TranscriptWriter::acknowledge()
{
    m_transcript->acknowledgePendingUpdates();
    m_shownAcknowledgement = m_transcript->changes().acknowledgement;
}

void TranscriptWriter::update()
{
    const TranscriptChanges &changes = m_transcript->changes();
    if (changes.everything || changes.acknowledgement != m_shownAcknowledgement) {
        rebuild();
        return;
    }
    // No common edit block: it would lay out everything between them again.
    for (const TranscriptChanges::Extension &extension : changes.extended)
        extendParagraph(extension);
    appendParagraphs(changes.firstNew, changes.lastWasTerminated);
}

void TranscriptWriter::rebuild()
{
    m_blockMap.clear();
    // Laid out empty for a moment, so that a scroll bar that is no longer needed goes: a text that
    // fits without it may be too high beside it.
    m_document->clear();
    QTextCursor cursor(m_document);
    cursor.beginEditBlock();
    cursor.setBlockFormat(blockFormatFor({}));
    appendParagraphs(0, false);
    cursor.endEditBlock();
}

void TranscriptWriter::extendParagraph(const TranscriptChanges::Extension &extension)
{
    const QString &text = m_transcript->paragraphs()[extension.paragraph].text;
    const QStringView added = QStringView(text).sliced(extension.shownLength);
    const qint64 lastBlock = m_blockMap.firstBlock(extension.paragraph + 1) - 1;
    const QTextBlock block = m_document->findBlockByNumber(static_cast<int>(lastBlock));

    // By position and in an edit block: a movement would shape the block first, and an insertion
    // alone afterwards.
    QTextCursor cursor(block);
    cursor.beginEditBlock();
    cursor.setPosition(block.position() + block.length() - 1);
    cursor.insertText(added.toString());
    // Before the end, at which the layout asks for the texts of blocks.
    m_blockMap.extendParagraph(extension.paragraph, added);
    cursor.endEditBlock();
    presentParagraph(extension.paragraph);
}

/// The first strong character may only now have arrived.
void TranscriptWriter::presentParagraph(qint64 paragraph)
{
    // A screen reader has just heard the new text, and knows the other.
    const QSignalBlocker silence(m_document);
    const auto presentation = m_transcript->presentationForParagraph(paragraph);
    const qint64 end = m_blockMap.firstBlock(paragraph + 1);
    for (qint64 number = m_blockMap.firstBlock(paragraph); number < end; ++number) {
        QTextCursor cursor(m_document->findBlockByNumber(static_cast<int>(number)));
        if (!hasBlockPresentation(cursor.blockFormat(), presentation))
            cursor.mergeBlockFormat(blockFormatFor(presentation));
    }
}

/// Adds the paragraphs from an index on, and the empty block after a last line break.
void TranscriptWriter::appendParagraphs(qint64 first, bool previousWasTerminated)
{
    const qint64 count = m_transcript->paragraphs().size();
    if (count == 0)
        return;
    const bool terminated = m_transcript->isParagraphTerminated(count - 1);
    if (first == count && terminated == previousWasTerminated)
        return;
    const QScopedValueRollback guard(m_isAppending, true);

    QTextCursor cursor(m_document);
    cursor.beginEditBlock();
    cursor.setPosition(m_document->characterCount() - 1);
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
qint64 TranscriptWriter::appendRun(QTextCursor &cursor, qint64 first)
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

void TranscriptWriter::applyFormats()
{
    // The text stays: a screen reader must not hear all of it once more.
    const QSignalBlocker silence(m_document);
    QTextCursor cursor(m_document);
    FormatsToChange formats;
    // Outside one edit block, every single format would be a layout pass of its own.
    cursor.beginEditBlock();
    int number = 0;
    for (QTextBlock block = m_document->begin(); block.isValid();) {
        const QTextBlock first = block;
        const ParagraphPresentation presentation = presentationOfBlock(number);
        QTextBlock last;
        do {
            last = block;
            block = block.next();
            ++number;
        } while (block.isValid() && block.blockFormatIndex() == first.blockFormatIndex()
                 && presentationOfBlock(number) == presentation);
        if (const QTextBlockFormat *format = formats.changed(first, presentation)) {
            cursor.setPosition(first.position());
            cursor.setPosition(last.position(), QTextCursor::KeepAnchor);
            cursor.setBlockFormat(*format);
        }
    }
    cursor.endEditBlock();
}

ParagraphPresentation TranscriptWriter::presentationOfBlock(int number) const
{
    const qint64 paragraph = m_blockMap.paragraphOfBlock(number);
    return shows(paragraph) ? m_transcript->presentationForParagraph(paragraph)
                            : ParagraphPresentation();
}

const TranscriptParagraph *TranscriptWriter::paragraphOfBlock(int number) const
{
    const qint64 paragraph = m_blockMap.paragraphOfBlock(number);
    return shows(paragraph) ? &m_transcript->paragraphs().at(paragraph) : nullptr;
}

/// Whether the paragraphs that the document shows are in the transcript as they were.
bool TranscriptWriter::isShownAsItWas() const
{
    const TranscriptChanges &changes = m_transcript->changes();
    return m_isAppending
           || (!changes.everything && changes.acknowledgement == m_shownAcknowledgement);
}

QStringView TranscriptWriter::textOfBlock(int number, qsizetype length) const
{
    if (!isShownAsItWas())
        return {};
    const TranscriptParagraph *paragraph = paragraphOfBlock(number);
    // One that was split, or has grown meanwhile, has another length.
    return paragraph && paragraph->text.size() == length ? QStringView(paragraph->text)
                                                         : QStringView();
}

/// After the last paragraph, and before anything is shown, there is an empty block.
bool TranscriptWriter::shows(qint64 paragraph) const
{
    return paragraph
           < std::min<qint64>(m_blockMap.paragraphCount(), m_transcript->paragraphs().size());
}

} // namespace tarn::console
