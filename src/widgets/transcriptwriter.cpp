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

/// An edit block, and a note if somebody else edits the document when they hear of it at its end.
class TranscriptWriter::Edit
{
public:
    Edit(TranscriptWriter *writer, QTextCursor &cursor)
        : m_writer(writer)
        , m_cursor(cursor)
    {
        m_cursor.beginEditBlock();
        m_revision = m_writer->m_document->revision();
    }
    ~Edit()
    {
        m_cursor.endEditBlock();
        if (m_writer->m_document->revision() != m_revision)
            m_writer->m_isForeign = true;
    }
    Edit(const Edit &) = delete;
    Edit &operator=(const Edit &) = delete;

private:
    TranscriptWriter *m_writer;
    QTextCursor &m_cursor;
    int m_revision = 0; ///< of the document, which each edit block raises
};

TranscriptWriter::TranscriptWriter(Transcript *transcript, QTextDocument *document)
    : m_transcript(transcript)
    , m_document(document)
{
    QObject::connect(document, &QTextDocument::contentsChange, &m_context, [this] {
        if (!m_isUpdating)
            m_isForeign = true;
    });
}

void TranscriptWriter::update()
{
    if (m_isUpdating)
        return;
    const QScopedValueRollback guard(m_isUpdating, true);
    constexpr int maximumRounds = 4;
    for (int round = 0; round < maximumRounds && !write(); ++round)
        m_isForeign = true;
    acknowledge();
}

void TranscriptWriter::acknowledge()
{
    // What has come after it was written is looked for the next time.
    if (m_transcript->changes().revision != m_writtenRevision)
        m_isForeign = true;
    m_transcript->acknowledgePendingUpdates();
    m_shownAcknowledgement = m_transcript->changes().acknowledgement;
}

/// Returns whether nobody has disturbed it.
bool TranscriptWriter::write()
{
    // A copy, because the transcript may go on.
    const TranscriptChanges changes = m_transcript->changes();
    m_writtenRevision = changes.revision;
    if (m_isForeign || changes.everything || changes.acknowledgement != m_shownAcknowledgement)
        rebuild();
    else
        patch(changes);
    m_added = {};
    return !isDisturbed();
}

/// By those who hear of what is written: what was known of the transcript or the document may no
/// longer be true.
bool TranscriptWriter::isDisturbed() const
{
    return m_isForeign || m_transcript->changes().revision != m_writtenRevision;
}

void TranscriptWriter::patch(const TranscriptChanges &changes)
{
    const bool endsInOne = growsIntoNewParagraphs(changes);
    // A single one: the document moves every cursor along at every insertion.
    QTextCursor cursor(m_document);
    std::optional<Edit> edit;
    for (const TranscriptChanges::Extension &extension : changes.extended) {
        if (isDisturbed())
            return;
        if (endsInOne && extension.paragraph == changes.extended.last().paragraph)
            edit.emplace(this, cursor);
        extendParagraph(cursor, extension);
    }
    if (!isDisturbed())
        appendParagraphs(cursor, changes.firstNew, changes.lastWasTerminated);
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
    m_writtenRevision = m_transcript->changes().revision;
    m_isForeign = !m_document->isEmpty();
    QTextCursor cursor(m_document);
    const Edit edit(this, cursor);
    cursor.setBlockFormat(blockFormatFor({}));
    appendParagraphs(cursor, 0, false);
}

void TranscriptWriter::extendParagraph(QTextCursor &cursor,
                                       const TranscriptChanges::Extension &extension)
{
    insertExtension(cursor, extension);
    if (!isDisturbed())
        presentParagraph(extension.paragraph);
}

void TranscriptWriter::insertExtension(QTextCursor &cursor,
                                       const TranscriptChanges::Extension &extension)
{
    QString text;
    m_transcript->packedParagraphs().appendTextTo(&text, extension.paragraph);
    const QStringView added = QStringView(text).sliced(extension.shownLength);
    const qint64 lastBlock = m_blockMap.firstBlock(extension.paragraph + 1) - 1;
    const QTextBlock block = m_document->findBlockByNumber(static_cast<int>(lastBlock));

    // By position and in an edit block: a movement would shape the block first, and an insertion
    // alone afterwards.
    const Edit edit(this, cursor);
    cursor.setPosition(block.position() + block.length() - 1);
    cursor.insertText(added.toString());
    // Before the end, at which the layout asks for the texts of blocks.
    m_blockMap.extendParagraph(extension.paragraph, added);
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
        if (hasBlockPresentation(cursor.blockFormat(), presentation))
            continue;
        const Edit edit(this, cursor);
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

    const Edit edit(this, cursor);
    cursor.setPosition(m_document->characterCount() - 1);
    const bool inFreshBlock = first == 0 || previousWasTerminated;
    m_added = {.text = paragraphs.documentTextFrom(first), .block = m_blockMap.firstBlock(first)};
    if (terminated && first < count)
        m_added.text.chop(1);
    insertAdded(cursor, first, inFreshBlock);
    if (terminated)
        cursor.insertBlock(blockFormatFor({}));
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

void TranscriptWriter::setDirection(ContentDirection direction)
{
    m_transcript->setDirection(direction);
    m_writtenRevision = m_transcript->changes().revision;
    applyFormats();
    acknowledge();
}

void TranscriptWriter::applyFormats()
{
    // The text stays: a screen reader must not hear all of it once more.
    const QSignalBlocker silence(m_document);
    QTextCursor cursor(m_document);
    FormatsToChange formats;
    // Outside one edit block, every single format would be a layout pass of its own.
    const Edit edit(this, cursor);
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
