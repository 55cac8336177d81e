#include "transcript/decodedtext.h"

#include <algorithm>

namespace tarn::console {

namespace {

constexpr char16_t hexadecimalDigits[] = u"0123456789ABCDEF";

} // namespace

/// Direction text of the line that begins there; moves on to the first escape after the line.
QString DecodedText::directionText(const QString &line, qsizetype begin, const Escape **next) const
{
    const qsizetype end = begin + line.size();
    const Escape *const first = *next;
    qsizetype length = line.size();
    for (; *next != m_escapes.constEnd() && (*next)->begin < end; ++*next)
        length -= (*next)->end - (*next)->begin;
    if (first == *next)
        return line;

    QString result(length, Qt::Uninitialized);
    QChar *to = result.data();
    const QChar *const text = m_text.constData();
    qsizetype from = begin;
    for (const Escape *escape = first; escape != *next; ++escape) {
        to = std::copy(text + from, text + escape->begin, to);
        from = escape->end;
    }
    std::copy(text + from, text + end, to);
    return result;
}

QList<DecoderFragment> DecodedText::fragments() const
{
    QList<DecoderFragment> result;
    forEachLine([&result](Line line) {
        if (!line.text.isEmpty()) {
            result.append({.kind = DecoderFragmentKind::Text,
                           .text = std::move(line.text),
                           .directionText = std::move(line.directionText)});
        }
        if (line.ended)
            result.append({.kind = DecoderFragmentKind::Break, .text = {}, .directionText = {}});
    });
    return result;
}

DecodedTextBuilder::DecodedTextBuilder(qsizetype byteCount)
    : m_capacity(byteCount)
{
    m_decoded.m_text = QString(byteCount, Qt::Uninitialized);
    m_buffer = reinterpret_cast<char16_t *>(m_decoded.m_text.data());
}

void DecodedTextBuilder::grow(qsizetype count)
{
    QString &text = m_decoded.m_text;
    text.resize(m_size + count);
    m_capacity = text.capacity();
    text.resize(m_capacity);
    m_buffer = reinterpret_cast<char16_t *>(text.data());
}

void DecodedTextBuilder::addByteEscape(uchar byte)
{
    const char16_t escape[] = {u'\\', u'x', hexadecimalDigits[byte >> 4],
                               hexadecimalDigits[byte & 0xF]};
    addEscape(QStringView(escape, std::size(escape)));
}

void DecodedTextBuilder::addCodePointEscape(char16_t codePoint)
{
    const char16_t escape[] = {u'\\',
                               u'u',
                               u'{',
                               hexadecimalDigits[codePoint >> 12],
                               hexadecimalDigits[(codePoint >> 8) & 0xF],
                               hexadecimalDigits[(codePoint >> 4) & 0xF],
                               hexadecimalDigits[codePoint & 0xF],
                               u'}'};
    addEscape(QStringView(escape, std::size(escape)));
}

void DecodedTextBuilder::addEscape(QStringView text)
{
    auto &escapes = m_decoded.m_escapes;
    if (!escapes.isEmpty() && escapes.last().end == m_size)
        escapes.last().end += text.size();
    else
        escapes.append({.begin = m_size, .end = m_size + text.size()});
    std::copy(text.utf16(), text.utf16() + text.size(), reserve(text.size()));
    addReserved(text.size(), text.size());
}

DecodedText DecodedTextBuilder::take()
{
    // Exactly as large as needed: the text may be kept for long.
    m_decoded.m_text.truncate(m_size);
    m_decoded.m_text.squeeze();
    return std::move(m_decoded);
}

} // namespace tarn::console
