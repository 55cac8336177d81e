#pragma once

#include "transcript/decoderfragment.h"

#include <QChar>
#include <QList>
#include <QString>
#include <QStringView>
#include <QVarLengthArray>

namespace tarn::console {

/// What a decoder makes of a piece of output: a single text, in which each line feed is a line
/// break and nothing else is, and the places of the escapes in it.
class DecodedText
{
public:
    /// A line, or the part of it that this piece holds.
    struct Line
    {
        QStringView text;
        /// The text without escapes and tabs; the same buffer as the text when there are none.
        QStringView directionText;
        bool ended = false; ///< by a line break; otherwise the text is not empty
    };

    const QString &text() const { return m_text; }
    /// Length in UTF-8, each line break one byte.
    qint64 displayBytes() const { return m_text.size() + m_extraBytes; }

    /// Calls take(Line) for every line in order; the line's texts live until it returns.
    template<typename Take>
    void forEachLine(Take take) const;

    QList<DecoderFragment> fragments() const;

private:
    friend class DecodedTextBuilder;

    /// Part of the text that must not decide a direction.
    struct Escape
    {
        qsizetype begin;
        qsizetype end;
    };

    QStringView directionText(QStringView line, const Escape **next, QString *buffer) const;

    QString m_text;
    QVarLengthArray<Escape, 16> m_escapes; ///< in order, none touching the next
    qint64 m_extraBytes = 0;               ///< what UTF-8 needs beyond one byte per code unit
};

/// Writes a decoded text. The buffer is as large as the text gets when it holds no escapes; only
/// escapes make it grow.
class DecodedTextBuilder
{
public:
    explicit DecodedTextBuilder(qsizetype byteCount);

    /// Printable ASCII.
    void addAscii(const uchar *bytes, qsizetype size)
    {
        char16_t *to = reserve(size);
        addReserved(size, size);
        // A length that the compiler knows is what makes it use vectors at every level.
        constexpr qsizetype block = 16;
        for (; size >= block; size -= block, bytes += block, to += block) {
            for (qsizetype i = 0; i < block; ++i)
                to[i] = bytes[i];
        }
        for (qsizetype i = 0; i < size; ++i)
            to[i] = bytes[i];
    }

    /// Room for so many code units, to be written at once and then declared.
    char16_t *reserve(qsizetype count)
    {
        if (m_capacity - m_size < count)
            grow(count);
        return m_buffer + m_size;
    }

    /// So many code units have been written to the reserved room, from so many bytes of UTF-8.
    void addReserved(qsizetype count, qsizetype byteCount)
    {
        m_size += count;
        m_decoded.m_extraBytes += byteCount - count;
    }

    /// A character that is shown as itself.
    void addCharacter(uint codePoint)
    {
        if (!QChar::requiresSurrogates(codePoint)) {
            *reserve(1) = char16_t(codePoint);
            addReserved(1, codePoint < 0x80 ? 1 : codePoint < 0x800 ? 2 : 3);
            return;
        }
        char16_t *to = reserve(2);
        to[0] = QChar::highSurrogate(codePoint);
        to[1] = QChar::lowSurrogate(codePoint);
        addReserved(2, 4);
    }

    void addTabulator();
    void addByteEscape(uchar byte);
    void addCodePointEscape(uint codePoint);
    void addBreak()
    {
        *reserve(1) = u'\n';
        addReserved(1, 1);
    }

    DecodedText take();

private:
    void grow(qsizetype count);
    char16_t *addEscape(qsizetype size);

    DecodedText m_decoded; ///< its text is the buffer, longer than what is written
    char16_t *m_buffer;
    qsizetype m_size = 0;
    qsizetype m_capacity;
};

template<typename Take>
void DecodedText::forEachLine(Take take) const
{
    const Escape *nextEscape = m_escapes.constData();
    QString withoutEscapes;
    for (qsizetype begin = 0; begin < m_text.size();) {
        const qsizetype lineFeed = m_text.indexOf(u'\n', begin);
        const bool ended = lineFeed >= 0;
        const qsizetype end = ended ? lineFeed : m_text.size();
        const auto line = QStringView(m_text).sliced(begin, end - begin);
        take(Line{.text = line,
                  .directionText = directionText(line, &nextEscape, &withoutEscapes),
                  .ended = ended});
        begin = end + 1;
    }
}

} // namespace tarn::console
