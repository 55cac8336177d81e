#include "transcript/incrementaloutputdecoder.h"

#include <QChar>

#include <cstring>
#include <utility>

namespace tarn::console {

using namespace Qt::StringLiterals;

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

} // namespace

/// Collects fragments. As long as everything in a Text is real content, its direction text is its
/// text, and the two share one buffer.
class IncrementalOutputDecoder::FragmentBuilder
{
public:
    void addAscii(const uchar *bytes, qsizetype size)
    {
        const QLatin1StringView text(reinterpret_cast<const char *>(bytes), size);
        m_text.append(text);
        if (m_hasEscapes)
            m_directionText.append(text);
    }

    void addCodePoint(uint codePoint)
    {
        if (codePoint == tabulator) {
            addEscape(u"\t");
        } else if (isUnsupportedControl(codePoint) || isBidiFormattingControl(codePoint)) {
            addEscape(codePointEscape(codePoint));
        } else {
            addCharacter(codePoint);
        }
    }

    /// Text that must not decide a direction.
    void addEscape(QStringView text)
    {
        if (!std::exchange(m_hasEscapes, true))
            m_directionText = m_text;
        m_text.append(text);
    }

    void addByteEscape(uchar byte)
    {
        constexpr char16_t digits[] = u"0123456789ABCDEF";
        const char16_t escape[] = {u'\\', u'x', digits[byte >> 4], digits[byte & 0xF]};
        addEscape(QStringView(escape, 4));
    }

    void addBreak()
    {
        endText();
        m_fragments.append({.kind = DecoderFragmentKind::Break, .text = {}, .directionText = {}});
    }

    QList<DecoderFragment> take()
    {
        endText();
        return std::move(m_fragments);
    }

private:
    void addCharacter(uint codePoint)
    {
        if (!QChar::requiresSurrogates(codePoint)) {
            m_text.append(QChar(codePoint));
            if (m_hasEscapes)
                m_directionText.append(QChar(codePoint));
            return;
        }
        const auto character = QChar::fromUcs4(codePoint);
        m_text.append(character);
        if (m_hasEscapes)
            m_directionText.append(character);
    }

    void endText()
    {
        if (!m_text.isEmpty()) {
            DecoderFragment fragment;
            fragment.directionText =
                std::exchange(m_hasEscapes, false) ? std::exchange(m_directionText, {}) : m_text;
            fragment.text = std::exchange(m_text, {});
            m_fragments.append(std::move(fragment));
        }
    }

    QList<DecoderFragment> m_fragments;
    QString m_text;
    QString m_directionText; ///< only with escapes; otherwise it is the text
    bool m_hasEscapes = false;
};

QList<DecoderFragment> IncrementalOutputDecoder::append(QByteArrayView bytes)
{
    FragmentBuilder builder;
    const auto *at = reinterpret_cast<const uchar *>(bytes.data());
    const uchar *const end = at + bytes.size();
    while (at != end) {
        // With nothing kept from before, whole characters can be taken where they stand.
        if (m_pendingUtf8Size == 0 && !m_pendingCarriageReturn) {
            const qsizetype plain = plainAsciiLength(at, end - at);
            if (plain > 0) {
                builder.addAscii(at, plain);
                at += plain;
                continue;
            }
            const Sequence sequence = sequenceOf(*at);
            uint codePoint = 0;
            if (sequence.length > 1 && end - at >= sequence.length && isContinuation(at[1])
                && (sequence.length < 3 || isContinuation(at[2]))
                && (sequence.length < 4 || isContinuation(at[3]))
                && decodeSequence(at, sequence, &codePoint)) {
                builder.addCodePoint(codePoint);
                at += sequence.length;
                continue;
            }
        }
        takeByte(*at++, builder);
    }
    return builder.take();
}

void IncrementalOutputDecoder::takeByte(uchar byte, FragmentBuilder &builder)
{
    if (m_pendingCarriageReturn) {
        m_pendingCarriageReturn = false;
        if (byte == lineFeed) {
            builder.addBreak();
            return;
        }
        flushPendingUtf8(builder);
        builder.addEscape(codePointEscape(carriageReturn));
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

QList<DecoderFragment> IncrementalOutputDecoder::finish()
{
    FragmentBuilder builder;
    flushPendingUtf8(builder);
    for (int i = 0; i < m_pendingUtf8Size; ++i)
        builder.addByteEscape(m_pendingUtf8[i]);
    m_pendingUtf8Size = 0;
    if (std::exchange(m_pendingCarriageReturn, false))
        builder.addEscape(codePointEscape(carriageReturn));
    return builder.take();
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

void IncrementalOutputDecoder::flushPendingUtf8(FragmentBuilder &builder)
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
            builder.addCodePoint(codePoint);
            dropPendingBytes(sequence.length);
        } else {
            builder.addByteEscape(lead);
            dropPendingBytes(1);
        }
    }
}

bool IncrementalOutputDecoder::isBidiFormattingControl(uint codePoint)
{
    return codePoint == 0x061C || codePoint == 0x200E || codePoint == 0x200F
           || (codePoint >= 0x202A && codePoint <= 0x202E)
           || (codePoint >= 0x2066 && codePoint <= 0x2069);
}

bool IncrementalOutputDecoder::isUnsupportedControl(uint codePoint)
{
    return codePoint <= 0x1F || (codePoint >= 0x7F && codePoint <= 0x9F);
}

QString IncrementalOutputDecoder::codePointEscape(uint codePoint)
{
    return u"\\u{%1}"_s.arg(QString::number(codePoint, 16).toUpper().rightJustified(4, u'0'));
}

QString IncrementalOutputDecoder::byteEscape(uchar byte)
{
    return u"\\x%1"_s.arg(QString::number(byte, 16).toUpper().rightJustified(2, u'0'));
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
    FragmentBuilder builder;
    builder.addCodePoint(codePoint);
    for (const DecoderFragment &fragment : builder.take())
        appendText(fragments, fragment.text, fragment.directionText);
}

void IncrementalOutputDecoder::appendBreak(QList<DecoderFragment> *fragments)
{
    fragments->append({.kind = DecoderFragmentKind::Break, .text = {}, .directionText = {}});
}

} // namespace tarn::console
