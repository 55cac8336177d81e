// The state of a transcript, and the limits that its paragraphs and bytes are checked against.

#include "transcript/transcript.h"

namespace tarn::console {

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
    m_paragraphs.markEverythingChanged();
}

ParagraphPresentation Transcript::presentationForParagraph(qint64 index) const
{
    return presentationOf(m_direction, m_paragraphs.packed().firstStrongDirection(index));
}

void Transcript::stop(TranscriptLimit limit)
{
    m_stopReason = limit;
}

TranscriptAppendResult Transcript::resultOf(qint64 acceptedBytes) const
{
    return {
        .acceptedBytes = acceptedBytes, .captureStopped = captureStopped(), .limit = stopReason()};
}

void Transcript::clear()
{
    for (StreamState &state : m_streams) {
        // The paragraph held the direction text of the line; the rest of the line inherits it.
        if (state.hasOpenParagraph())
            state.directionText = m_paragraphs.packed().at(state.paragraphIndex).directionText;
        state.paragraphIndex = -1;
    }
    m_records.clear();
    m_paragraphs.clear();
    m_stopReason.reset();
    m_retainedByteCount = 0;
    m_pendingUpdateByteCount = 0;
}

void Transcript::beginStreams()
{
    m_streams = {};
}

void Transcript::acknowledgePendingUpdates()
{
    m_pendingUpdateByteCount = 0;
    m_paragraphs.acknowledge();
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
    return m_paragraphs.add({.kind = kind, .stream = stream, .text = {}, .directionText = {}}, {},
                            directionText);
}

} // namespace tarn::console
