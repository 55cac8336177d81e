#include "transcript/transcript.h"

namespace tarn::console {

namespace {

/// Whether two strings are one buffer. A line without escapes costs a single one.
bool areOneText(const QString &a, const QString &b)
{
    return a.size() == b.size() && (a.isEmpty() || a.constData() == b.constData());
}

/// Makes the buffer as small as the text. A buffer that has no reserve is left alone, since
/// squeeze() would copy it when it is shared.
void dropReserve(QString &text)
{
    if (text.capacity() > text.size())
        text.squeeze();
}

} // namespace

Transcript::Transcript(const TranscriptLimits &limits)
    : m_limits(limits)
{
}

Transcript::StreamState &Transcript::stateFor(TranscriptStream stream)
{
    return m_streams[stream == TranscriptStream::StandardOutput ? 0 : 1];
}

const Transcript::StreamState &Transcript::stateFor(TranscriptStream stream) const
{
    return m_streams[stream == TranscriptStream::StandardOutput ? 0 : 1];
}

void Transcript::setDirection(ContentDirection direction)
{
    if (m_direction == direction)
        return;
    m_direction = direction;
    markEverythingChanged();
}

ParagraphPresentation Transcript::presentationForParagraph(qint64 index) const
{
    return paragraphPresentation(m_direction, m_paragraphs[index].directionText);
}

void Transcript::stop(TranscriptLimit limit)
{
    m_captureStopped = true;
    m_stopReason = limit;
}

TranscriptAppendResult Transcript::resultOf(qint64 acceptedBytes) const
{
    return {
        .acceptedBytes = acceptedBytes, .captureStopped = m_captureStopped, .limit = m_stopReason};
}

void Transcript::clear()
{
    for (StreamState &state : m_streams) {
        // The paragraph held the direction text of the line; the rest of the line inherits it.
        if (state.hasOpenParagraph())
            state.directionText = m_paragraphs[state.paragraphIndex].directionText;
        state.paragraphIndex = -1;
    }
    m_records.clear();
    m_paragraphs.clear();
    m_paragraphTerminated.clear();
    m_captureStopped = false;
    m_stopReason = TranscriptLimit::None;
    m_retainedByteCount = 0;
    m_pendingUpdateByteCount = 0;
    markEverythingChanged();
}

void Transcript::beginStreams()
{
    m_streams = {};
}

void Transcript::acknowledgePendingUpdates()
{
    m_pendingUpdateByteCount = 0;
    m_changes = {.acknowledgement = m_changes.acknowledgement + 1,
                 .everything = false,
                 .firstNew = m_paragraphs.size(),
                 .extended = {},
                 .lastWasTerminated =
                     !m_paragraphTerminated.isEmpty() && m_paragraphTerminated.last()};
}

bool Transcript::canAcceptRaw(qint64 byteCount, TranscriptLimit *limit) const
{
    // The sum of the two counts is never formed: it could overflow.
    if (m_limits.maxRetainedBytes < byteCount
        || m_retainedByteCount > m_limits.maxRetainedBytes - byteCount) {
        *limit = TranscriptLimit::RetainedBytes;
        return false;
    }
    return true;
}

bool Transcript::canApply(TranscriptStream stream, const QList<DecoderFragment> &fragments,
                          TranscriptLimit *limit) const
{
    return canApplyFrom(stateFor(stream).hasOpenParagraph(), fragments, limit);
}

bool Transcript::canApplyStandalone(const QList<DecoderFragment> &fragments,
                                    TranscriptLimit *limit) const
{
    return canApplyFrom(false, fragments, limit);
}

bool Transcript::canApplyFrom(bool paragraphOpen, const QList<DecoderFragment> &fragments,
                              TranscriptLimit *limit) const
{
    const qint64 displayBytes = fragmentsDisplayBytes(fragments);
    if (m_limits.maxPendingUpdateBytes < displayBytes
        || m_pendingUpdateByteCount > m_limits.maxPendingUpdateBytes - displayBytes) {
        *limit = TranscriptLimit::PendingUpdates;
        return false;
    }

    qint64 paragraphCount = m_paragraphs.size();
    for (const DecoderFragment &fragment : fragments) {
        const bool isBreak = fragment.kind == DecoderFragmentKind::Break;
        if (!isBreak && fragment.text.isEmpty())
            continue;
        if (!paragraphOpen) {
            if (paragraphCount >= m_limits.maxParagraphs) {
                *limit = TranscriptLimit::Paragraphs;
                return false;
            }
            ++paragraphCount;
        }
        paragraphOpen = !isBreak;
    }
    return true;
}

qint64 Transcript::addParagraph(TranscriptRecordKind kind, std::optional<TranscriptStream> stream,
                                const QString &directionText)
{
    m_paragraphs.append(
        {.kind = kind, .stream = stream, .text = {}, .directionText = directionText});
    m_paragraphTerminated.append(false);
    return m_paragraphs.size() - 1;
}

void Transcript::appendToParagraph(qint64 index, const QString &text, const QString &directionText)
{
    noteExtension(index);
    TranscriptParagraph &paragraph = m_paragraphs[index];
    if (!areOneText(paragraph.text, paragraph.directionText) || !areOneText(text, directionText)) {
        paragraph.text.append(text);
        paragraph.directionText.append(directionText);
        return;
    }
    // A text that is not shared while it grows is not copied each time.
    paragraph.directionText.clear();
    paragraph.text.append(text);
    paragraph.directionText = paragraph.text;
}

void Transcript::terminateParagraph(qint64 index)
{
    noteExtension(index);
    m_paragraphTerminated[index] = true;
    // It grows no more.
    TranscriptParagraph &paragraph = m_paragraphs[index];
    const bool oneText = areOneText(paragraph.text, paragraph.directionText);
    if (oneText)
        paragraph.directionText.clear();
    dropReserve(paragraph.text);
    if (oneText)
        paragraph.directionText = paragraph.text;
    else
        dropReserve(paragraph.directionText);
}

void Transcript::noteExtension(qint64 index)
{
    if (m_changes.everything || index >= m_changes.firstNew)
        return;
    auto at = m_changes.extended.cbegin();
    while (at != m_changes.extended.cend() && at->paragraph < index)
        ++at;
    if (at == m_changes.extended.cend() || at->paragraph != index)
        m_changes.extended.insert(
            at, {.paragraph = index, .shownLength = m_paragraphs[index].text.size()});
}

void Transcript::markEverythingChanged()
{
    m_changes = {.acknowledgement = m_changes.acknowledgement,
                 .everything = true,
                 .firstNew = 0,
                 .extended = {},
                 .lastWasTerminated = false};
}

} // namespace tarn::console
