#include "widgets/transcriptwriter.h"

#include "textlayout/blockshaper.h"
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
    QObject::connect(document, &QTextDocument::contentsChange, &m_context, [this] {
        if (!m_isUpdating)
            m_isForeign = true;
    });
}

void TranscriptWriter::acknowledge()
{
    m_transcript->acknowledgePendingUpdates();
    m_shownAcknowledgement = m_transcript->changes().acknowledgement;
}

void TranscriptWriter::update()
{
    const QScopedValueRollback guard(m_isUpdating, true);
    const TranscriptChanges &changes = m_transcript->changes();
    if (m_isForeign || changes.everything || changes.acknowledgement != m_shownAcknowledgement) {
        rebuild();
    } else {
        patch(changes);
    }
    m_added = {};
}

void TranscriptWriter::patch(const TranscriptChanges &changes)
{
    const bool endsInOne = growsIntoNewParagraphs(changes);
    // A single one: the document moves every cursor along at every insertion.
    QTextCursor cursor(m_document);
    for (const TranscriptChanges::Extension &extension : changes.extended) {
        if (endsInOne && extension.paragraph == changes.extended.last().paragraph)
            cursor.beginEditBlock();
        extendParagraph(cursor, extension);
    }
    appendParagraphs(cursor, changes.firstNew, changes.lastWasTerminated);
    if (endsInOne)
        cursor.endEditBlock();
}

/// Whether the last paragraph has grown and new ones come after it, so that the layout can take
/// both as one change. It would lay out everything between two changes, all of a long paragraph,
/// and tell a screen reader of another presentation.
bool TranscriptWriter::growsIntoNewParagraphs(const TranscriptChanges &changes) const
{
    const qint64 last = changes.firstNew - 1;
    const PackedParagraphs &paragraphs = m_transcript->packedParagraphs();
    return !changes.extended.isEmpty() && changes.extended.last().paragraph == last
           && paragraphs.size() > changes.firstNew
           && paragraphs.textLength(last) <= BlockShaper::shortBlock
           && hasBlockPresentation(m_document->lastBlock().blockFormat(),
                                   m_transcript->presentationForParagraph(last));
}

void TranscriptWriter::rebuild()
{
    m_isForeign = false;
    m_blockMap.clear();
    // Laid out empty for a moment, so that a scroll bar that is no longer needed goes: a text that
    // fits without it may be too high beside it.
    m_document->clear();
    QTextCursor cursor(m_document);
    cursor.beginEditBlock();
    cursor.setBlockFormat(blockFormatFor({}));
    appendParagraphs(cursor, 0, false);
    cursor.endEditBlock();
}

void TranscriptWriter::extendParagraph(QTextCursor &cursor,
                                       const TranscriptChanges::Extension &extension)
{
    QString text;
    m_transcript->packedParagraphs().appendTextTo(&text, extension.paragraph);
    const QStringView added = QStringView(text).sliced(extension.shownLength);
    const qint64 lastBlock = m_blockMap.firstBlock(extension.paragraph + 1) - 1;
    const QTextBlock block = m_document->findBlockByNumber(static_cast<int>(lastBlock));

    // By position and in an edit block: a movement would shape the block first, and an insertion
    // alone afterwards.
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
void TranscriptWriter::appendParagraphs(QTextCursor &cursor, qint64 first,
                                        bool previousWasTerminated)
{
    const PackedParagraphs &paragraphs = m_transcript->packedParagraphs();
    const qint64 count = paragraphs.size();
    if (count == 0)
        return;
    const bool terminated = paragraphs.isTerminated(count - 1);
    if (first == count && terminated == previousWasTerminated)
        return;

    cursor.beginEditBlock();
    cursor.setPosition(m_document->characterCount() - 1);
    const bool inFreshBlock = first == 0 || previousWasTerminated;
    m_added = {.text = paragraphs.documentTextFrom(first), .block = m_blockMap.firstBlock(first)};
    if (terminated && first < count)
        m_added.text.chop(1);
    insertAdded(cursor, first, inFreshBlock);
    if (terminated)
        cursor.insertBlock(blockFormatFor({}));
    cursor.endEditBlock();
}

/// Inserts the text of the paragraphs from one on, in pieces that share a presentation.
void TranscriptWriter::insertAdded(QTextCursor &cursor, qint64 first, bool inFreshBlock)
{
    for (qsizetype from = 0; first < m_transcript->packedParagraphs().size();) {
        const QTextBlockFormat format =
            blockFormatFor(m_transcript->presentationForParagraph(first));
        // The format goes first: the blocks of the run inherit it.
        if (from == 0 && inFreshBlock)
            cursor.setBlockFormat(format);
        else
            cursor.insertBlock(format);
        const Run run = runFrom(first);
        const QString text = m_added.text.mid(from, run.length);
        m_blockMap.appendParagraphs(run.end - first, text);
        cursor.insertText(text);
        first = run.end;
        from += run.length + 1;
    }
}

/// The paragraphs from one on that share its presentation.
TranscriptWriter::Run TranscriptWriter::runFrom(qint64 first) const
{
    const PackedParagraphs &paragraphs = m_transcript->packedParagraphs();
    const auto presentation = m_transcript->presentationForParagraph(first);
    qint64 end = first;
    qint64 length = -1;
    do {
        length += paragraphs.textLength(end) + 1;
        ++end;
    } while (end < paragraphs.size()
             && m_transcript->presentationForParagraph(end) == presentation);
    return {.end = end, .length = length};
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
    // Somebody else may show more than this writer has.
    const bool mayShowMore = m_isForeign || m_blockMap.paragraphCount() == 0;
    const qint64 paragraph = m_blockMap.paragraphOfBlock(number);
    const bool isShown =
        mayShowMore ? paragraph < m_transcript->packedParagraphs().size() : shows(paragraph);
    return isShown ? m_transcript->presentationForParagraph(paragraph) : ParagraphPresentation();
}

std::optional<TranscriptParagraph> TranscriptWriter::originOfBlock(int number) const
{
    const qint64 paragraph = m_blockMap.paragraphOfBlock(number);
    if (!shows(paragraph))
        return std::nullopt;
    return m_transcript->packedParagraphs().originOf(paragraph);
}

/// Whether the paragraphs that the document shows are in the transcript as they were.
bool TranscriptWriter::isShownAsItWas() const
{
    const TranscriptChanges &changes = m_transcript->changes();
    return !m_added.text.isNull()
           || (!m_isForeign && !changes.everything
               && changes.acknowledgement == m_shownAcknowledgement);
}

QStringView TranscriptWriter::textOfBlock(int number, qsizetype length) const
{
    if (!isShownAsItWas())
        return {};
    if (number == m_added.block && m_added.place + length <= m_added.text.size()) {
        const auto text = QStringView(m_added.text).sliced(m_added.place, length);
        ++m_added.block;
        m_added.place += length + 1;
        return text;
    }
    const PackedParagraphs &paragraphs = m_transcript->packedParagraphs();
    const qint64 paragraph = m_blockMap.paragraphOfBlock(number);
    // One that was split, or has grown meanwhile, has another length.
    if (!shows(paragraph) || paragraphs.textLength(paragraph) != length)
        return {};
    m_known.resize(0);
    paragraphs.appendTextTo(&m_known, paragraph);
    return m_known;
}

/// After the last paragraph, and before anything is shown, there is an empty block.
bool TranscriptWriter::shows(qint64 paragraph) const
{
    return paragraph
           < std::min(m_blockMap.paragraphCount(), m_transcript->packedParagraphs().size());
}

} // namespace tarn::console
