#include "support/plaintranscript.h"

namespace tarn::console::plain {

using namespace Qt::StringLiterals;

Transcript::Transcript(const TranscriptLimits &limits)
    : m_limits(limits)
{
}

TranscriptAppendResult Transcript::appendStream(TranscriptStream stream, QByteArrayView bytes)
{
    if (m_stopped)
        return resultOf(0);
    Chunk chunk;
    qsizetype position = 0;
    while (position < bytes.size() && takeNext(stream, bytes, position, chunk)) {
    }
    appendStreamRecord(stream, chunk.bytes, chunk.text);
    return resultOf(chunk.accepted);
}

/// Takes what stands at the position and moves the position on. False ends the walk.
bool Transcript::takeNext(TranscriptStream stream, QByteArrayView bytes, qsizetype &position,
                          Chunk &chunk)
{
    StreamState &state = stateFor(stream);
    const char byte = bytes.at(position);
    if (state.carriageReturnAtLimit) {
        if (byte != '\n') {
            stop(TranscriptLimit::ParagraphLength);
            return false;
        }
        if (!applyPiece(stream, "\r\n", chunk))
            return false;
        state.carriageReturnAtLimit = false;
        state.lineBytes = 0;
        position += 1;
        return true;
    }
    if (byte == '\n') {
        if (!applyPiece(stream, "\n", chunk))
            return false;
        state.lineBytes = 0;
        position += 1;
        return true;
    }
    if (state.lineBytes < m_limits.maxParagraphBytes) {
        if (!applyPiece(stream, bytes.sliced(position, 1), chunk))
            return false;
        state.lineBytes += 1;
        position += 1;
        return true;
    }
    return takeAtLineLimit(stream, bytes, position, chunk);
}

bool Transcript::takeAtLineLimit(TranscriptStream stream, QByteArrayView bytes, qsizetype &position,
                                 Chunk &chunk)
{
    StreamState &state = stateFor(stream);
    const bool isLast = position + 1 == bytes.size();
    if (bytes.at(position) == '\r' && isLast) {
        state.carriageReturnAtLimit = true;
        return false;
    }
    if (bytes.at(position) == '\r' && bytes.at(position + 1) == '\n') {
        if (!applyPiece(stream, "\r\n", chunk))
            return false;
        state.lineBytes = 0;
        position += 2;
        return true;
    }
    stop(TranscriptLimit::ParagraphLength);
    return false;
}

bool Transcript::applyPiece(TranscriptStream stream, QByteArrayView piece, Chunk &chunk)
{
    TranscriptLimit limit = TranscriptLimit::None;
    if (!canAcceptRaw(piece.size(), &limit)) {
        stop(limit);
        return false;
    }
    Decoder trial = stateFor(stream).decoder;
    if (!canApply(stream, trial.append(piece), &limit)) {
        stop(limit);
        return false;
    }
    const QList<DecoderFragment> fragments = stateFor(stream).decoder.append(piece);
    applyStreamFragments(stream, fragments);
    m_retained += piece.size();
    chunk.bytes += piece.toByteArray();
    chunk.text += textOf(fragments);
    chunk.accepted += piece.size();
    return true;
}

TranscriptAppendResult Transcript::finalizeStream(TranscriptStream stream)
{
    StreamState &state = stateFor(stream);
    if (state.carriageReturnAtLimit) {
        state.carriageReturnAtLimit = false;
        stop(TranscriptLimit::ParagraphLength);
    }
    const QList<DecoderFragment> fragments = state.decoder.finish();
    if (!fragments.isEmpty()) {
        TranscriptLimit limit = TranscriptLimit::None;
        if (canApply(stream, fragments, &limit)) {
            applyStreamFragments(stream, fragments);
            appendStreamRecord(stream, QByteArray(), textOf(fragments));
        } else {
            stop(limit);
        }
    }
    return resultOf(0);
}

void Transcript::beginStreams()
{
    m_standardOutput = StreamState();
    m_standardError = StreamState();
}

TranscriptAppendResult Transcript::appendInputEcho(const QString &label, QByteArrayView bytes)
{
    if (m_stopped)
        return resultOf(0);
    if (bytes.size() > m_limits.maxParagraphBytes) {
        stop(TranscriptLimit::ParagraphLength);
        return resultOf(0);
    }
    TranscriptLimit limit = TranscriptLimit::None;
    if (!canAcceptRaw(bytes.size(), &limit)) {
        stop(limit);
        return resultOf(0);
    }
    Decoder decoder;
    QList<DecoderFragment> fragments = decoder.append(bytes);
    fragments += decoder.finish();
    if (!canApplyStandalone(fragments, &limit)) {
        stop(limit);
        return resultOf(0);
    }
    applyStandaloneFragments(TranscriptRecordKind::InputEcho, fragments);
    m_retained += bytes.size();

    TranscriptRecord record;
    record.kind = TranscriptRecordKind::InputEcho;
    record.bytes = bytes.toByteArray();
    record.text = textOf(fragments);
    record.label = label;
    record.marker = true;
    m_records.append(record);
    return resultOf(bytes.size());
}

void Transcript::appendLimitRecord(TranscriptLimit limit)
{
    const QString names[] = {u"none"_s, u"retained-byte limit"_s, u"paragraph limit"_s,
                             u"paragraph-length limit"_s, u"pending-update limit"_s};
    TranscriptRecord record;
    record.kind = TranscriptRecordKind::LimitNotice;
    record.detail =
        qint32(limit) >= 0 && qint32(limit) <= 4 ? names[qint32(limit)] : u"unknown limit"_s;
    m_records.append(record);
}

void Transcript::appendApplicationLabel(const QString &label)
{
    TranscriptRecord record;
    record.kind = TranscriptRecordKind::ApplicationLabel;
    record.label = label;
    m_records.append(record);
}

void Transcript::appendOutcome(const QString &text)
{
    TranscriptRecord record;
    record.kind = TranscriptRecordKind::Outcome;
    record.detail = text;
    m_records.append(record);
}

void Transcript::clear()
{
    m_records.clear();
    m_paragraphs.clear();
    m_terminated.clear();
    m_stopped = false;
    m_stopReason = TranscriptLimit::None;
    m_standardOutput.paragraphIndex = -1;
    m_standardError.paragraphIndex = -1;
    m_retained = 0;
    m_pendingUpdates = 0;
}

bool Transcript::canAcceptRaw(qint64 byteCount, TranscriptLimit *limit) const
{
    if (m_limits.maxRetainedBytes < byteCount
        || m_retained > m_limits.maxRetainedBytes - byteCount) {
        *limit = TranscriptLimit::RetainedBytes;
        return false;
    }
    return true;
}

bool Transcript::canApply(TranscriptStream stream, const QList<DecoderFragment> &fragments,
                          TranscriptLimit *limit) const
{
    const StreamState &state = stateFor(stream);
    return canApplyFrom(state.paragraphOpen && state.paragraphIndex >= 0, fragments, limit);
}

bool Transcript::canApplyStandalone(const QList<DecoderFragment> &fragments,
                                    TranscriptLimit *limit) const
{
    return canApplyFrom(false, fragments, limit);
}

bool Transcript::canApplyFrom(bool open, const QList<DecoderFragment> &fragments,
                              TranscriptLimit *limit) const
{
    const qint64 displayBytes = displayBytesOf(fragments);
    if (m_limits.maxPendingUpdateBytes < displayBytes
        || m_pendingUpdates > m_limits.maxPendingUpdateBytes - displayBytes) {
        *limit = TranscriptLimit::PendingUpdates;
        return false;
    }
    qint64 count = m_paragraphs.size();
    for (const DecoderFragment &fragment : fragments) {
        const bool isBreak = fragment.kind == DecoderFragmentKind::Break;
        if (!isBreak && fragment.text.isEmpty())
            continue;
        if (!open) {
            if (count >= m_limits.maxParagraphs) {
                *limit = TranscriptLimit::Paragraphs;
                return false;
            }
            count += 1;
        }
        open = !isBreak;
    }
    return true;
}

void Transcript::applyStreamFragments(TranscriptStream stream,
                                      const QList<DecoderFragment> &fragments)
{
    StreamState &state = stateFor(stream);
    for (const DecoderFragment &fragment : fragments) {
        if (fragment.kind == DecoderFragmentKind::Break) {
            m_terminated[ensureStreamParagraph(stream)] = true;
            state.paragraphIndex = -1;
            state.paragraphOpen = false;
            state.directionText.clear();
        } else if (!fragment.text.isEmpty()) {
            TranscriptParagraph &paragraph = m_paragraphs[ensureStreamParagraph(stream)];
            paragraph.text += fragment.text;
            paragraph.directionText += fragment.directionText;
            state.directionText += fragment.directionText;
        }
    }
    m_pendingUpdates += displayBytesOf(fragments);
}

void Transcript::stop(TranscriptLimit limit)
{
    m_stopped = true;
    m_stopReason = limit;
}

QString Transcript::documentText() const
{
    QString text;
    for (qsizetype i = 0; i < m_paragraphs.size(); ++i) {
        text += m_paragraphs.at(i).text;
        if (i + 1 < m_paragraphs.size() || m_terminated.at(i))
            text += u'\n';
    }
    return text;
}

Transcript::StreamState &Transcript::stateFor(TranscriptStream stream)
{
    return stream == TranscriptStream::StandardOutput ? m_standardOutput : m_standardError;
}

const Transcript::StreamState &Transcript::stateFor(TranscriptStream stream) const
{
    return stream == TranscriptStream::StandardOutput ? m_standardOutput : m_standardError;
}

TranscriptAppendResult Transcript::resultOf(qint64 accepted) const
{
    return {accepted, m_stopped, m_stopped ? m_stopReason : TranscriptLimit::None};
}

qint64 Transcript::ensureStreamParagraph(TranscriptStream stream)
{
    StreamState &state = stateFor(stream);
    if (!state.paragraphOpen || state.paragraphIndex < 0) {
        state.paragraphIndex =
            addParagraph(TranscriptRecordKind::StreamOutput, stream, state.directionText);
        state.paragraphOpen = true;
    }
    return state.paragraphIndex;
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
    m_records.append(record);
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
            open = addParagraph(kind, std::nullopt, QString());
        m_paragraphs[open].text += fragment.text;
        m_paragraphs[open].directionText += fragment.directionText;
        if (isBreak) {
            m_terminated[open] = true;
            open = -1;
        }
    }
    m_pendingUpdates += displayBytesOf(fragments);
}

qint64 Transcript::addParagraph(TranscriptRecordKind kind, std::optional<TranscriptStream> stream,
                                const QString &directionText)
{
    m_paragraphs.append(TranscriptParagraph{kind, stream, QString(), directionText});
    m_terminated.append(false);
    return m_paragraphs.size() - 1;
}

} // namespace tarn::console::plain
