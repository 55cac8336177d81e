#include "transcript/incrementaloutputdecoder.h"

#include <QChar>

#include <cstring>
#include <utility>

namespace tarn::console {

namespace {

constexpr uint tabulator = 0x09;
constexpr uint lineFeed = 0x0A;
constexpr uint carriageReturn = 0x0D;

/// What the first byte of a UTF-8 sequence promises; length 0 for a byte that begins none.
struct Sequence
{
    int length;
    uint lowestCodePoint;
};

constexpr Sequence sequenceOf(uchar lead)
{
    if (lead < 0x80)
        return {1, 0};
    if (lead >= 0xC2 && lead <= 0xDF)
        return {2, 0x80};
    if (lead >= 0xE0 && lead <= 0xEF)
        return {3, 0x800};
    if (lead >= 0xF0 && lead <= 0xF4)
        return {4, 0x10000};
    return {0, 0};
}

constexpr bool isContinuation(uchar byte)
{
    return (byte & 0xC0) == 0x80;
}

/// Decodes a sequence whose continuation bytes are all there. Returns whether it is well-formed:
/// no overlong form, no surrogate, nothing above U+10FFFF.
bool decodeSequence(const uchar *bytes, Sequence sequence, uint *codePoint)
{
    // The lead's own bits are what is below its length marker.
    uint value = sequence.length == 1 ? bytes[0] : bytes[0] & (0x7Fu >> sequence.length);
    for (int i = 1; i < sequence.length; ++i)
        value = (value << 6) | (bytes[i] & 0x3Fu);
    *codePoint = value;
    return value >= sequence.lowestCodePoint && value <= QChar::LastValidCodePoint
           && !QChar::isSurrogate(value);
}

constexpr bool isPlainAscii(uchar byte)
{
    return byte >= 0x20 && byte < 0x7F;
}

constexpr bool isPlainAsciiShownAsItself()
{
    for (uint byte = 0; byte < 0x80; ++byte) {
        if (isPlainAscii(uchar(byte)) && isShownAsEscape(byte))
            return false;
    }
    return true;
}
static_assert(isPlainAsciiShownAsItself(),
              "plain ASCII is copied without a look at each character");

/// Length of the run of printable ASCII at the start, eight bytes at a time.
qsizetype plainAsciiLength(const uchar *bytes, qsizetype size)
{
    constexpr quint64 ones = 0x0101010101010101;
    constexpr quint64 highBits = 0x8080808080808080;
    qsizetype length = 0;
    for (; length + 8 <= size; length += 8) {
        quint64 word;
        std::memcpy(&word, bytes + length, sizeof word);
        // The high bit of a lane is set for bytes from 0x80, below 0x20 (borrow) and for 0x7F
        // (carry). A borrow or carry may also mark a neighbour; then the loop below decides.
        if (((word - ones * 0x20) | (word + ones) | word) & highBits)
            break;
    }
    while (length < size && isPlainAscii(bytes[length]))
        ++length;
    return length;
}

/// Shows a character, or its escape.
void addCodePoint(DecodedTextBuilder &builder, uint codePoint)
{
    if (codePoint == tabulator)
        builder.addTabulator();
    else if (isShownAsEscape(codePoint))
        builder.addCodePointEscape(codePoint);
    else
        builder.addCharacter(codePoint);
}

/// Takes characters of up to three bytes for as long as they follow each other and are shown as
/// themselves; that is most of what is no plain ASCII. Returns how far it came.
const uchar *takeWords(const uchar *at, const uchar *end, DecodedTextBuilder &builder)
{
    const uchar *const begin = at;
    char16_t *const text = builder.reserve(end - at);
    char16_t *to = text;
    for (; end - at >= 3; ++to) {
        if (isPlainAscii(*at)) {
            *to = *at;
            at += 1;
            continue;
        }
        const Sequence sequence = sequenceOf(*at);
        if (sequence.length == 2 && isContinuation(at[1])) {
            const uint codePoint = (at[0] & 0x1Fu) << 6 | (at[1] & 0x3Fu);
            if (isShownAsEscape(codePoint))
                break;
            *to = char16_t(codePoint);
        } else if (sequence.length == 3 && isContinuation(at[1]) && isContinuation(at[2])) {
            uint codePoint = 0;
            if (!decodeSequence(at, sequence, &codePoint) || isShownAsEscape(codePoint))
                break;
            *to = char16_t(codePoint);
        } else {
            break;
        }
        at += sequence.length;
    }
    builder.addReserved(to - text, at - begin);
    return at;
}

/// Takes the ASCII control character at the start, with the line feed after a carriage return.
/// Returns the number of bytes; 0 when the next byte decides and has not come yet.
qsizetype takeControl(const uchar *at, const uchar *end, DecodedTextBuilder &builder)
{
    if (*at == lineFeed) {
        builder.addBreak();
        return 1;
    }
    if (*at != carriageReturn) {
        addCodePoint(builder, *at);
        return 1;
    }
    if (end - at < 2)
        return 0;
    if (at[1] == lineFeed) {
        builder.addBreak();
        return 2;
    }
    builder.addCodePointEscape(carriageReturn);
    return 1;
}

/// Takes the character beyond ASCII at the start, or one byte of what is none. Returns the number
/// of bytes; 0 when bytes that have not come yet decide, or a line break comes between.
qsizetype takeSequence(const uchar *at, const uchar *end, DecodedTextBuilder &builder)
{
    const Sequence sequence = sequenceOf(*at);
    int present = 1;
    while (present < sequence.length && present < end - at && isContinuation(at[present]))
        ++present;
    if (present < sequence.length
        && (present == end - at || at[present] == lineFeed || at[present] == carriageReturn))
        return 0;

    uint codePoint = 0;
    if (sequence.length > 0 && present == sequence.length
        && decodeSequence(at, sequence, &codePoint)) {
        addCodePoint(builder, codePoint);
        return sequence.length;
    }
    builder.addByteEscape(*at);
    return 1;
}

/// Takes what can be understood where it stands. Stops where a byte that has yet to come decides,
/// or a line break stands inside a character; the bytes from there on are to be taken one by one.
const uchar *takeWhole(const uchar *at, const uchar *end, DecodedTextBuilder &builder)
{
    while (at != end) {
        if (const qsizetype plain = plainAsciiLength(at, end - at); plain > 0) {
            builder.addAscii(at, plain);
            at += plain;
        }
        if (at != end && *at >= 0x80)
            at = takeWords(at, end, builder);
        if (at == end)
            break;
        const qsizetype taken =
            *at < 0x80 ? takeControl(at, end, builder) : takeSequence(at, end, builder);
        if (taken == 0)
            break;
        at += taken;
    }
    return at;
}

} // namespace

DecodedText IncrementalOutputDecoder::decode(QByteArrayView bytes)
{
    DecodedTextBuilder builder(bytes.size());
    const auto *at = reinterpret_cast<const uchar *>(bytes.data());
    const uchar *const end = at + bytes.size();
    while (at != end) {
        if (m_pendingUtf8Size == 0 && !m_pendingCarriageReturn)
            at = takeWhole(at, end, builder);
        if (at != end)
            takeByte(*at++, builder);
    }
    return builder.take();
}

DecodedText IncrementalOutputDecoder::decodeRest()
{
    DecodedTextBuilder builder(0);
    flushPendingUtf8(builder);
    for (int i = 0; i < m_pendingUtf8Size; ++i)
        builder.addByteEscape(m_pendingUtf8[i]);
    m_pendingUtf8Size = 0;
    if (std::exchange(m_pendingCarriageReturn, false))
        builder.addCodePointEscape(carriageReturn);
    return builder.take();
}

QList<DecoderFragment> IncrementalOutputDecoder::append(QByteArrayView bytes)
{
    return decode(bytes).fragments();
}

QList<DecoderFragment> IncrementalOutputDecoder::finish()
{
    return decodeRest().fragments();
}

void IncrementalOutputDecoder::takeByte(uchar byte, DecodedTextBuilder &builder)
{
    if (m_pendingCarriageReturn) {
        m_pendingCarriageReturn = false;
        if (byte == lineFeed) {
            builder.addBreak();
            return;
        }
        flushPendingUtf8(builder);
        builder.addCodePointEscape(carriageReturn);
    }
    if (byte == carriageReturn) {
        flushPendingUtf8(builder);
        m_pendingCarriageReturn = true;
    } else if (byte == lineFeed) {
        flushPendingUtf8(builder);
        builder.addBreak();
    } else {
        appendByte(byte);
        flushPendingUtf8(builder);
    }
}

void IncrementalOutputDecoder::appendByte(uchar byte)
{
    m_pendingUtf8[m_pendingUtf8Size++] = byte;
}

void IncrementalOutputDecoder::dropPendingBytes(int count)
{
    m_pendingUtf8Size -= count;
    std::memmove(m_pendingUtf8.data(), m_pendingUtf8.data() + count, m_pendingUtf8Size);
}

void IncrementalOutputDecoder::flushPendingUtf8(DecodedTextBuilder &builder)
{
    while (m_pendingUtf8Size > 0) {
        const uchar lead = m_pendingUtf8[0];
        const Sequence sequence = sequenceOf(lead);
        int present = 1;
        while (present < m_pendingUtf8Size && present < sequence.length
               && isContinuation(m_pendingUtf8[present]))
            ++present;
        // An incomplete sequence is kept as long as nothing speaks against it.
        if (present < sequence.length && present == m_pendingUtf8Size)
            return;

        uint codePoint = 0;
        if (sequence.length > 0 && present == sequence.length
            && decodeSequence(m_pendingUtf8.data(), sequence, &codePoint)) {
            addCodePoint(builder, codePoint);
            dropPendingBytes(sequence.length);
        } else {
            builder.addByteEscape(lead);
            dropPendingBytes(1);
        }
    }
}

QString IncrementalOutputDecoder::codePointEscape(uint codePoint)
{
    DecodedTextBuilder builder(codePointEscapeSize(codePoint));
    builder.addCodePointEscape(codePoint);
    return builder.take().text();
}

QString IncrementalOutputDecoder::byteEscape(uchar byte)
{
    DecodedTextBuilder builder(byteEscapeSize);
    builder.addByteEscape(byte);
    return builder.take().text();
}

void IncrementalOutputDecoder::appendText(QList<DecoderFragment> *fragments, const QString &text,
                                          const QString &directionText)
{
    if (!fragments->isEmpty() && fragments->last().kind == DecoderFragmentKind::Text) {
        fragments->last().text.append(text);
        fragments->last().directionText.append(directionText);
    } else {
        fragments->append(
            {.kind = DecoderFragmentKind::Text, .text = text, .directionText = directionText});
    }
}

void IncrementalOutputDecoder::appendCodePoint(QList<DecoderFragment> *fragments, uint codePoint)
{
    DecodedTextBuilder builder(codePointEscapeSize(codePoint));
    addCodePoint(builder, codePoint);
    for (const DecoderFragment &fragment : builder.take().fragments())
        appendText(fragments, fragment.text, fragment.directionText);
}

void IncrementalOutputDecoder::appendBreak(QList<DecoderFragment> *fragments)
{
    fragments->append({.kind = DecoderFragmentKind::Break, .text = {}, .directionText = {}});
}

} // namespace tarn::console
