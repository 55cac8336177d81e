#include "transcript/decodedtext.h"

#include "transcript/visibleescape.h"

namespace tarn::console {

/// Direction text of a line, which is put together in the buffer if it is another than the line's;
/// moves on to the first escape after the line.
QStringView DecodedText::directionText(QStringView line, const Escape **next, QString *buffer) const
{
    const QChar *const text = m_text.constData();
    qsizetype from = line.data() - text;
    const qsizetype end = from + line.size();
    if (*next == m_escapes.constEnd() || (*next)->begin >= end)
        return line;

    buffer->resize(0);
    for (; *next != m_escapes.constEnd() && (*next)->begin < end; ++*next) {
        buffer->append(QStringView(text + from, (*next)->begin - from));
        from = (*next)->end;
    }
    buffer->append(QStringView(text + from, end - from));
    return *buffer;
}

QList<DecoderFragment> DecodedText::fragments() const
{
    QList<DecoderFragment> result;
    forEachLine([&result](const Line &line) {
        if (!line.text.isEmpty()) {
            const QString text = line.text.toString();
            const bool hasEscapes = line.directionText.data() != line.text.data();
            result.append({.kind = DecoderFragmentKind::Text,
                           .text = text,
                           .directionText = hasEscapes ? line.directionText.toString() : text});
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
