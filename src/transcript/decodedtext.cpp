#include "transcript/decodedtext.h"

#include "transcript/visibleescape.h"

#include <algorithm>

namespace tarn::console {

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

void DecodedTextBuilder::addTabulator()
{
    *addEscape(1) = u'\t';
}

void DecodedTextBuilder::addByteEscape(uchar byte)
{
    writeByteEscape(byte, addEscape(byteEscapeSize));
}

void DecodedTextBuilder::addCodePointEscape(uint codePoint)
{
    writeCodePointEscape(codePoint, addEscape(codePointEscapeSize(codePoint)));
}

/// Declares an escape of so many characters, which are ASCII, and returns where it goes.
char16_t *DecodedTextBuilder::addEscape(qsizetype size)
{
    auto &escapes = m_decoded.m_escapes;
    if (!escapes.isEmpty() && escapes.last().end == m_size)
        escapes.last().end += size;
    else
        escapes.append({.begin = m_size, .end = m_size + size});
    char16_t *to = reserve(size);
    addReserved(size, size);
    return to;
}

DecodedText DecodedTextBuilder::take()
{
    // Exactly as large as needed: the text may be kept for long.
    m_decoded.m_text.truncate(m_size);
    m_decoded.m_text.squeeze();
    return std::move(m_decoded);
}

} // namespace tarn::console
