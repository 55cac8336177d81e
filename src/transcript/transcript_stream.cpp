// Streams: what decoded output leaves in paragraphs and records, and how a stream ends.

#include "transcript/transcript.h"

#include <utility>

namespace tarn::console {

qint64 Transcript::ensureStreamParagraph(TranscriptStream stream)
{
    StreamState &state = stateFor(stream);
    if (!state.hasOpenParagraph()) {
        state.paragraphIndex = addParagraph(TranscriptRecordKind::StreamOutput, stream,
                                            std::exchange(state.directionText, {}));
    }
    return state.paragraphIndex;
}

void Transcript::applyStreamFragments(TranscriptStream stream,
                                      const QList<DecoderFragment> &fragments)
{
    StreamState &state = stateFor(stream);
    for (const DecoderFragment &fragment : fragments) {
        if (fragment.kind == DecoderFragmentKind::Break) {
            m_paragraphs.terminate(ensureStreamParagraph(stream));
            state.paragraphIndex = -1;
        } else if (!fragment.text.isEmpty()) {
            m_paragraphs.append(ensureStreamParagraph(stream), fragment.text,
                                fragment.directionText);
        }
    }
    m_pendingUpdateByteCount += fragmentsDisplayBytes(fragments);
}

void Transcript::appendStreamRecord(TranscriptStream stream, const QByteArray &bytes,
                                    const QString &text)
{
    if (bytes.isEmpty() && text.isEmpty())
        return;
    TranscriptRecord record;
    record.kind = TranscriptRecordKind::StreamOutput;
    record.stream = stream;
    record.bytes = bytes;
    record.text = text;
    m_records.append(std::move(record));
}

TranscriptAppendResult Transcript::finalizeStream(TranscriptStream stream)
{
    StreamState &state = stateFor(stream);
    if (std::exchange(state.carriageReturnAtLimit, false))
        stop(TranscriptLimit::ParagraphLength);

    const QList<DecoderFragment> fragments = state.decoder.finish();
    if (!fragments.isEmpty()) {
        auto limit = TranscriptLimit::None;
        if (canApply(stream, fragments, &limit)) {
            applyStreamFragments(stream, fragments);
            appendStreamRecord(stream, {}, fragmentsText(fragments));
        } else {
            stop(limit);
        }
    }
    return resultOf(0);
}

} // namespace tarn::console
