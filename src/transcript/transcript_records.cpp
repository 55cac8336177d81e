// What is recorded besides output: echoes of input, labels, outcomes and limits.

#include "transcript/transcript.h"

#include <utility>

namespace tarn::console {

TranscriptAppendResult Transcript::appendInputEcho(const QString &label, QByteArrayView bytes)
{
    if (captureStopped())
        return resultOf(0);

    auto limit = TranscriptLimit::ParagraphLength;
    // A decoder of its own: an echo never completes a partial character of program output.
    IncrementalOutputDecoder decoder;
    QList<DecoderFragment> fragments;
    const auto fits = [&] {
        if (bytes.size() > m_limits.maxParagraphBytes || !canAcceptRaw(bytes.size(), &limit))
            return false;
        fragments = decoder.append(bytes);
        for (const DecoderFragment &last : decoder.finish())
            IncrementalOutputDecoder::appendText(&fragments, last.text, last.directionText);
        return canApplyStandalone(fragments, &limit);
    };
    if (!fits()) {
        stop(limit);
        return resultOf(0);
    }

    applyStandaloneFragments(TranscriptRecordKind::InputEcho, fragments);
    m_retainedByteCount += bytes.size();
    TranscriptRecord record;
    record.kind = TranscriptRecordKind::InputEcho;
    record.bytes = bytes.toByteArray();
    record.text = fragmentsText(fragments);
    record.label = label;
    record.marker = true;
    m_records.append(std::move(record));
    return resultOf(bytes.size());
}

void Transcript::applyStandaloneFragments(TranscriptRecordKind kind,
                                          const QList<DecoderFragment> &fragments)
{
    qint64 open = -1;
    for (const DecoderFragment &fragment : fragments) {
        const bool isBreak = fragment.kind == DecoderFragmentKind::Break;
        if (!isBreak && fragment.text.isEmpty())
            continue;
        if (open < 0)
            open = addParagraph(kind, std::nullopt, {});
        if (isBreak)
            m_paragraphs.terminate(std::exchange(open, -1));
        else
            m_paragraphs.append(open, fragment.text, fragment.directionText);
    }
    m_pendingUpdateByteCount += fragmentsDisplayBytes(fragments);
}

void Transcript::appendLimitRecord(TranscriptLimit limit)
{
    TranscriptRecord record;
    record.kind = TranscriptRecordKind::LimitNotice;
    record.detail = transcriptLimitName(limit);
    m_records.append(std::move(record));
}

void Transcript::appendApplicationLabel(const QString &label)
{
    TranscriptRecord record;
    record.kind = TranscriptRecordKind::ApplicationLabel;
    record.label = label;
    m_records.append(std::move(record));
}

void Transcript::appendOutcome(const QString &text)
{
    TranscriptRecord record;
    record.kind = TranscriptRecordKind::Outcome;
    record.detail = text;
    m_records.append(std::move(record));
}

} // namespace tarn::console
