// Chunks of output: how they are taken in, up to the byte that would break a limit.

#include "transcript/transcript.h"

#include "transcript/visibleescape.h"

#include <algorithm>
#include <cstring>

namespace tarn::console {

namespace {

/// No byte of output adds more to the display than an escaped control character.
constexpr qint64 maxDisplayBytesPerByte = codePointEscapeSize('\0');
/// What a decoder may still hold from before: three bytes and a carriage return.
constexpr qint64 maxDisplayBytesHeld = 3 * byteEscapeSize + codePointEscapeSize('\r');

} // namespace

/// Takes a chunk of output in, piece by piece, as far as the limits allow.
class Transcript::ChunkIntake
{
public:
    ChunkIntake(Transcript *transcript, TranscriptStream stream, QByteArrayView bytes);

    /// Goes on until the chunk or the capture ends.
    void run();
    qint64 acceptedByteCount() const { return m_position + (m_withCarriageReturn ? 1 : 0); }
    /// One record of all that was accepted.
    void record();

private:
    struct Prefix
    {
        qint64 size = 0;
        qint64 lineBytes = 0; ///< of the stream, after the prefix
    };

    Prefix unlimitedPrefix() const;
    bool applyPrefix(const Prefix &prefix);
    void applyLine(const DecodedText::Line &line);
    bool applyNextPiece();
    bool applyPiece(QByteArrayView piece);

    Transcript *m_transcript;
    TranscriptStream m_stream;
    StreamState &m_state;
    QByteArrayView m_bytes;
    qsizetype m_position = 0; ///< next byte of the chunk; all before it are accepted
    /// The previous chunk's last carriage return is accepted with this chunk.
    bool m_withCarriageReturn = false;
    QString m_text;
    /// The chunk does not fit into what may be pending, so the capture will stop within it.
    bool m_endsAtPendingUpdates = false;
};

Transcript::ChunkIntake::ChunkIntake(Transcript *transcript, TranscriptStream stream,
                                     QByteArrayView bytes)
    : m_transcript(transcript)
    , m_stream(stream)
    , m_state(transcript->stateFor(stream))
    , m_bytes(bytes)
{
}

void Transcript::ChunkIntake::run()
{
    while (m_position < m_bytes.size()) {
        const Prefix prefix = unlimitedPrefix();
        if (prefix.size > 0) {
            // Decoding it is the quickest way to know how long it gets; it fails once at most.
            if (!applyPrefix(prefix))
                m_endsAtPendingUpdates = true;
        } else if (!applyNextPiece()) {
            return;
        }
    }
}

void Transcript::ChunkIntake::record()
{
    const QByteArrayView accepted = m_bytes.first(m_position);
    PackedRecords &records = m_transcript->m_records;
    if (m_withCarriageReturn)
        records.appendOutput(m_stream, accepted.toByteArray().prepend('\r'), m_text);
    else if (!accepted.isEmpty())
        records.appendOutput(m_stream, accepted, m_text);
}

/// Bytes that can be taken together because no limit can be reached within them; none when the
/// next byte has to be looked at by itself. Only how much they display is left open, unless it is
/// known to reach the limit within the chunk: then they fit whatever they are.
Transcript::ChunkIntake::Prefix Transcript::ChunkIntake::unlimitedPrefix() const
{
    Prefix prefix{.size = 0, .lineBytes = m_state.lineBytes};
    if (m_state.carriageReturnAtLimit)
        return prefix;
    const TranscriptLimits &limits = m_transcript->m_limits;
    const QByteArrayView bytes = m_bytes.sliced(m_position);
    qint64 pendingRoom = limits.maxPendingUpdateBytes - m_transcript->m_pendingUpdateByteCount;
    if (m_endsAtPendingUpdates)
        pendingRoom = (pendingRoom - maxDisplayBytesHeld) / maxDisplayBytesPerByte;
    const qint64 room = std::min<qint64>(
        {bytes.size(), limits.maxRetainedBytes - m_transcript->m_retainedByteCount, pendingRoom});
    // Every line break, and the text after the last one, may open a paragraph.
    qint64 paragraphRoom = limits.maxParagraphs - m_transcript->m_paragraphs.size()
                           - (m_state.hasOpenParagraph() ? 0 : 1);

    while (prefix.size < room && paragraphRoom >= 0
           && prefix.lineBytes <= limits.maxParagraphBytes) {
        const char *start = bytes.data() + prefix.size;
        const qint64 rest = room - prefix.size;
        const qint64 lineRoom = std::min(limits.maxParagraphBytes - prefix.lineBytes, rest);
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

/// Applies a prefix of the rest if its display fits; otherwise changes nothing.
bool Transcript::ChunkIntake::applyPrefix(const Prefix &prefix)
{
    Transcript &to = *m_transcript;
    IncrementalOutputDecoder decoder = m_state.decoder;
    const DecodedText decoded = decoder.decode(m_bytes.sliced(m_position, prefix.size));
    if (decoded.displayBytes() > to.m_limits.maxPendingUpdateBytes - to.m_pendingUpdateByteCount)
        return false;
    m_state.decoder = decoder;
    decoded.forEachLine([this](const DecodedText::Line &line) { applyLine(line); });
    m_state.lineBytes = prefix.lineBytes;
    to.m_retainedByteCount += prefix.size;
    to.m_pendingUpdateByteCount += decoded.displayBytes();
    m_position += prefix.size;
    m_text.append(decoded.text());
    return true;
}

void Transcript::ChunkIntake::applyLine(const DecodedText::Line &line)
{
    TranscriptParagraphs &paragraphs = m_transcript->m_paragraphs;
    if (!m_state.hasOpenParagraph() && m_state.directionText.isEmpty()) {
        // The usual case, a paragraph that begins with the line, needs no appending.
        const qint64 index = paragraphs.add({.kind = TranscriptRecordKind::StreamOutput,
                                             .stream = m_stream,
                                             .text = {},
                                             .directionText = {}},
                                            line.text, line.directionText, line.ended);
        m_state.paragraphIndex = line.ended ? -1 : index;
        return;
    }
    const qint64 index = m_transcript->ensureStreamParagraph(m_stream);
    paragraphs.append(index, line.text, line.directionText);
    if (line.ended) {
        paragraphs.terminate(index);
        m_state.paragraphIndex = -1;
    }
}

/// Takes in one byte, or a CR LF that ends a full line. Returns false when the chunk ends here.
bool Transcript::ChunkIntake::applyNextPiece()
{
    const char byte = m_bytes[m_position];
    if (m_state.carriageReturnAtLimit) {
        if (byte != '\n') {
            m_transcript->stop(TranscriptLimit::ParagraphLength);
            return false;
        }
        if (!applyPiece("\r\n"))
            return false;
        m_state.carriageReturnAtLimit = false;
        m_state.lineBytes = 0;
        m_withCarriageReturn = true;
        m_position += 1;
        return true;
    }
    if (byte == '\n' || m_state.lineBytes < m_transcript->m_limits.maxParagraphBytes) {
        if (!applyPiece(m_bytes.sliced(m_position, 1)))
            return false;
        m_state.lineBytes = byte == '\n' ? 0 : m_state.lineBytes + 1;
        m_position += 1;
        return true;
    }
    // The line is full: only a line break may follow.
    if (byte == '\r' && m_position + 1 == m_bytes.size()) {
        m_state.carriageReturnAtLimit = true;
        return false;
    }
    if (byte != '\r' || m_bytes[m_position + 1] != '\n') {
        m_transcript->stop(TranscriptLimit::ParagraphLength);
        return false;
    }
    if (!applyPiece("\r\n"))
        return false;
    m_state.lineBytes = 0;
    m_position += 2;
    return true;
}

/// Applies a piece if every limit allows it; otherwise stops the capture and changes nothing else.
bool Transcript::ChunkIntake::applyPiece(QByteArrayView piece)
{
    auto limit = TranscriptLimit::None;
    IncrementalOutputDecoder decoder = m_state.decoder;
    QList<DecoderFragment> fragments;
    const auto fits = [&] {
        if (!m_transcript->canAcceptRaw(piece.size(), &limit))
            return false;
        fragments = decoder.append(piece);
        return m_transcript->canApply(m_stream, fragments, &limit);
    };
    if (!fits()) {
        m_transcript->stop(limit);
        return false;
    }
    m_state.decoder = decoder;
    m_transcript->applyStreamFragments(m_stream, fragments);
    m_transcript->m_retainedByteCount += piece.size();
    m_text.append(fragmentsText(fragments));
    return true;
}

TranscriptAppendResult Transcript::appendStream(TranscriptStream stream, QByteArrayView bytes)
{
    if (captureStopped())
        return resultOf(0);
    ChunkIntake intake(this, stream, bytes);
    intake.run();
    intake.record();
    return resultOf(intake.acceptedByteCount());
}

TranscriptAppendResult Transcript::appendStreamBytes(TranscriptStream stream, QByteArrayView bytes)
{
    return appendStream(stream, bytes);
}

} // namespace tarn::console
