#include "transcript/transcript.h"

#include "transcript/visibleescape.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace tarn::console {

namespace {

/// No byte of output adds more to the display than an escaped control character.
constexpr qint64 maxDisplayBytesPerByte = codePointEscapeSize('\0');
/// What a decoder may still hold from before: three bytes and a carriage return.
constexpr qint64 maxDisplayBytesHeld = 3 * byteEscapeSize + codePointEscapeSize('\r');

/// All strings of one character below a bound, each with its terminator.
template<typename Character, size_t Bound>
constexpr std::array<Character, 2 * Bound> singleCharacters = [] {
    std::array<Character, 2 * Bound> all{};
    for (size_t i = 0; i < Bound; ++i)
        all[2 * i] = Character(i);
    return all;
}();

/// A record's bytes. A program that writes byte by byte makes a record of each, so a single byte
/// comes from a table and takes no memory of its own.
QByteArray recordBytes(QByteArrayView bytes)
{
    if (bytes.size() != 1)
        return bytes.toByteArray();
    return QByteArray::fromRawData(&singleCharacters<char, 0x100>[2 * uchar(bytes.front())], 1);
}

/// A record's text, likewise.
QString recordText(const QString &text)
{
    if (text.size() != 1 || text.front().unicode() >= 0x80)
        return text;
    const char16_t *single = &singleCharacters<char16_t, 0x80>[2 * text.front().unicode()];
    return QString::fromRawData(reinterpret_cast<const QChar *>(single), 1);
}

} // namespace

/// What has become of a chunk so far.
struct Transcript::ChunkProgress
{
    qsizetype position = 0; ///< next byte of the chunk; all before it are accepted
    /// The previous chunk's last carriage return is accepted with this chunk.
    bool withCarriageReturn = false;
    QString text; ///< display text of what is accepted
    /// The chunk does not fit into what may be pending, so the capture will stop within it.
    bool endsAtPendingUpdates = false;
};

TranscriptAppendResult Transcript::appendStream(TranscriptStream stream, QByteArrayView bytes)
{
    if (m_captureStopped)
        return resultOf(0);
    ChunkProgress progress;
    appendBytes(stream, bytes, progress);
    QByteArray accepted = recordBytes(bytes.first(progress.position));
    if (progress.withCarriageReturn)
        accepted.prepend('\r');
    // Without reserve there may be a paragraph that shares it, from which squeeze() would part it.
    if (progress.text.capacity() > progress.text.size())
        progress.text.squeeze();
    appendStreamRecord(stream, accepted, recordText(progress.text));
    return resultOf(accepted.size());
}

TranscriptAppendResult Transcript::appendStreamBytes(TranscriptStream stream, QByteArrayView bytes)
{
    return appendStream(stream, bytes);
}

void Transcript::appendBytes(TranscriptStream stream, QByteArrayView bytes, ChunkProgress &progress)
{
    while (progress.position < bytes.size()) {
        const QByteArrayView rest = bytes.sliced(progress.position);
        const UnlimitedPrefix prefix =
            unlimitedPrefix(stateFor(stream), rest, progress.endsAtPendingUpdates);
        if (prefix.size > 0) {
            // Decoding it is the quickest way to know how long it gets; it fails once at most.
            if (!applyPrefix(stream, rest, prefix, progress))
                progress.endsAtPendingUpdates = true;
        } else if (!appendNextPiece(stream, bytes, progress)) {
            return;
        }
    }
}

/// Bytes that can be taken together because no limit can be reached within them; none when the
/// next byte has to be looked at by itself. Only how much they display is left open, unless it has
/// to fit whatever they are.
Transcript::UnlimitedPrefix Transcript::unlimitedPrefix(const StreamState &state,
                                                        QByteArrayView bytes,
                                                        bool mustFitPendingUpdates) const
{
    UnlimitedPrefix prefix{.size = 0, .lineBytes = state.lineBytes};
    if (state.carriageReturnAtLimit)
        return prefix;
    qint64 pendingRoom = m_limits.maxPendingUpdateBytes - m_pendingUpdateByteCount;
    if (mustFitPendingUpdates)
        pendingRoom = (pendingRoom - maxDisplayBytesHeld) / maxDisplayBytesPerByte;
    const qint64 room = std::min<qint64>(
        {bytes.size(), m_limits.maxRetainedBytes - m_retainedByteCount, pendingRoom});
    // Every line break, and the text after the last one, may open a paragraph.
    qint64 paragraphRoom =
        m_limits.maxParagraphs - m_paragraphs.size() - (state.hasOpenParagraph() ? 0 : 1);

    while (prefix.size < room && paragraphRoom >= 0
           && prefix.lineBytes <= m_limits.maxParagraphBytes) {
        const char *start = bytes.data() + prefix.size;
        const qint64 rest = room - prefix.size;
        const qint64 lineRoom = std::min(m_limits.maxParagraphBytes - prefix.lineBytes, rest);
        // The line break itself needs no room in the line.
        const void *lineFeed = std::memchr(start, '\n', size_t(std::min(lineRoom + 1, rest)));
        if (!lineFeed) {
            prefix.size += lineRoom;
            prefix.lineBytes += lineRoom;
            return prefix;
        }
        prefix.size += static_cast<const char *>(lineFeed) - start + 1;
        prefix.lineBytes = 0;
        --paragraphRoom;
    }
    return prefix;
}

/// Applies a prefix of the bytes if its display fits; otherwise changes nothing.
bool Transcript::applyPrefix(TranscriptStream stream, QByteArrayView bytes,
                             const UnlimitedPrefix &prefix, ChunkProgress &progress)
{
    StreamState &state = stateFor(stream);
    IncrementalOutputDecoder decoder = state.decoder;
    const DecodedText decoded = decoder.decode(bytes.first(prefix.size));
    if (decoded.displayBytes() > m_limits.maxPendingUpdateBytes - m_pendingUpdateByteCount)
        return false;
    state.decoder = decoder;
    decoded.forEachLine([&](DecodedText::Line &&line) { applyLine(stream, std::move(line)); });
    state.lineBytes = prefix.lineBytes;
    m_retainedByteCount += prefix.size;
    m_pendingUpdateByteCount += decoded.displayBytes();
    progress.position += prefix.size;
    progress.text.append(decoded.text());
    return true;
}

void Transcript::applyLine(TranscriptStream stream, DecodedText::Line &&line)
{
    StreamState &state = stateFor(stream);
    if (!state.hasOpenParagraph() && state.directionText.isEmpty()) {
        // The usual case, a paragraph that begins with the line, needs no appending.
        m_paragraphs.append({.kind = TranscriptRecordKind::StreamOutput,
                             .stream = stream,
                             .text = std::move(line.text),
                             .directionText = std::move(line.directionText)});
        m_paragraphTerminated.append(line.ended);
        state.paragraphIndex = line.ended ? -1 : m_paragraphs.size() - 1;
        return;
    }
    const qint64 index = ensureStreamParagraph(stream);
    appendToParagraph(index, line.text, line.directionText);
    if (line.ended) {
        terminateParagraph(index);
        state.paragraphIndex = -1;
    }
}

/// Takes in one byte, or a CR LF that ends a full line. Returns false when the chunk ends here.
bool Transcript::appendNextPiece(TranscriptStream stream, QByteArrayView bytes,
                                 ChunkProgress &progress)
{
    StreamState &state = stateFor(stream);
    const char byte = bytes[progress.position];

    if (state.carriageReturnAtLimit) {
        if (byte != '\n') {
            stop(TranscriptLimit::ParagraphLength);
            return false;
        }
        if (!applyPiece(stream, "\r\n", progress))
            return false;
        state.carriageReturnAtLimit = false;
        state.lineBytes = 0;
        progress.withCarriageReturn = true;
        progress.position += 1;
        return true;
    }
    if (byte == '\n' || state.lineBytes < m_limits.maxParagraphBytes) {
        if (!applyPiece(stream, bytes.sliced(progress.position, 1), progress))
            return false;
        state.lineBytes = byte == '\n' ? 0 : state.lineBytes + 1;
        progress.position += 1;
        return true;
    }
    // The line is full: only a line break may follow.
    if (byte == '\r' && progress.position + 1 == bytes.size()) {
        state.carriageReturnAtLimit = true;
        return false;
    }
    if (byte != '\r' || bytes[progress.position + 1] != '\n') {
        stop(TranscriptLimit::ParagraphLength);
        return false;
    }
    if (!applyPiece(stream, "\r\n", progress))
        return false;
    state.lineBytes = 0;
    progress.position += 2;
    return true;
}

/// Applies a piece if every limit allows it; otherwise stops the capture and changes nothing else.
bool Transcript::applyPiece(TranscriptStream stream, QByteArrayView piece, ChunkProgress &progress)
{
    auto limit = TranscriptLimit::None;
    if (!canAcceptRaw(piece.size(), &limit)) {
        stop(limit);
        return false;
    }
    StreamState &state = stateFor(stream);
    IncrementalOutputDecoder decoder = state.decoder;
    const QList<DecoderFragment> fragments = decoder.append(piece);
    if (!canApply(stream, fragments, &limit)) {
        stop(limit);
        return false;
    }
    state.decoder = decoder;
    applyStreamFragments(stream, fragments);
    m_retainedByteCount += piece.size();
    progress.text.append(fragmentsText(fragments));
    return true;
}

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
            terminateParagraph(ensureStreamParagraph(stream));
            state.paragraphIndex = -1;
        } else if (!fragment.text.isEmpty()) {
            appendToParagraph(ensureStreamParagraph(stream), fragment.text, fragment.directionText);
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
