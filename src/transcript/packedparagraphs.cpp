#include "transcript/packedparagraphs.h"

#include "widgets/paragraphpresentation.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace tarn::console {

namespace {

/// Whether two texts are one buffer. A line without escapes costs a single one.
bool areOneText(QStringView a, QStringView b)
{
    return a.size() == b.size() && (a.isEmpty() || a.data() == b.data());
}

/// Without a branch, so that the compiler takes many characters at once.
bool isLatin1(QStringView text)
{
    char16_t bits = 0;
    for (const QChar character : text)
        bits |= character.unicode();
    return bits < 0x100;
}

qint64 bytesPerUnit(bool isWide)
{
    return isWide ? 2 : 1;
}

QString textAt(const char *bytes, qint64 length, bool isWide)
{
    if (!isWide)
        return QString::fromLatin1(bytes, length);
    QString text(length, Qt::Uninitialized);
    std::memcpy(text.data(), bytes, size_t(length) * sizeof(QChar));
    return text;
}

} // namespace

/// What does not fit into an entry stays as it is.
bool PackedParagraphs::isPackable(const TranscriptParagraph &origin, QStringView text,
                                  QStringView directionText)
{
    const auto isSmall = [](auto value) {
        const auto number = static_cast<qint64>(value);
        return number >= 0 && number <= std::numeric_limits<qint8>::max();
    };
    return isSmall(origin.kind) && (!origin.stream || isSmall(*origin.stream))
           && text.size() + directionText.size() < std::numeric_limits<qint32>::max() / 4;
}

void PackedParagraphs::add(const TranscriptParagraph &origin, QStringView text,
                           QStringView directionText, bool terminated)
{
    Entry entry;
    entry.isTerminated = terminated;
    if (terminated && isPackable(origin, text, directionText)) {
        pack(&entry, origin, text, directionText);
    } else {
        TranscriptParagraph open = origin;
        open.text = text.toString();
        open.directionText = areOneText(text, directionText) ? open.text : directionText.toString();
        m_open.emplace(size(), std::move(open));
    }
    m_entries.append(entry);
    if (m_isUnpacked)
        m_unpacked.append(at(size() - 1));
}

void PackedParagraphs::append(qint64 index, QStringView text, QStringView directionText)
{
    // A text that is not shared while it grows is not copied each time.
    if (m_isUnpacked)
        m_unpacked[index] = originOf(index);
    TranscriptParagraph &open = m_open.at(index);
    const bool isOneText =
        areOneText(open.text, open.directionText) && areOneText(text, directionText);
    if (isOneText)
        open.directionText.clear();
    open.text.append(text);
    if (isOneText)
        open.directionText = open.text;
    else
        open.directionText.append(directionText);
    if (m_isUnpacked)
        m_unpacked[index] = open;
}

void PackedParagraphs::terminate(qint64 index)
{
    Entry &entry = m_entries[index];
    entry.isTerminated = true;
    const auto open = m_open.find(index);
    if (open == m_open.end()
        || !isPackable(open->second, open->second.text, open->second.directionText))
        return;
    const TranscriptParagraph paragraph = std::move(open->second);
    m_open.erase(open);
    pack(&entry, paragraph, paragraph.text, paragraph.directionText);
    if (m_isUnpacked)
        m_unpacked[index] = at(index);
}

void PackedParagraphs::clear()
{
    m_entries.clear();
    m_chunks.clear();
    m_open.clear();
    m_unpacked.clear();
}

void PackedParagraphs::pack(Entry *entry, const TranscriptParagraph &origin, QStringView text,
                            QStringView directionText)
{
    entry->length = static_cast<qint32>(text.size());
    entry->kind = static_cast<qint8>(origin.kind);
    entry->stream = origin.stream ? static_cast<qint8>(*origin.stream) : noStream;
    entry->hasDirectionText = !areOneText(text, directionText);
    entry->isWide = !isLatin1(text) || (entry->hasDirectionText && !isLatin1(directionText));
    entry->isRightToLeft = console::firstStrongDirection(
                               QString::fromRawData(directionText.data(), directionText.size()))
                           == Qt::RightToLeft;

    const qint64 length = directionText.size();
    makeRoom((text.size() + length) * bytesPerUnit(entry->isWide) + qint64(sizeof length));
    entry->chunk = static_cast<qint32>(m_chunks.size() - 1);
    entry->place = static_cast<qint32>(m_chunks.last().size());
    packText(*entry, text);
    if (entry->hasDirectionText) {
        m_chunks.last().append(reinterpret_cast<const char *>(&length), sizeof length);
        packText(*entry, directionText);
    }
}

/// Chunks never move. One array of all would, or take memory that is fresh from the system, which
/// costs more than to fill it.
void PackedParagraphs::makeRoom(qint64 size)
{
    constexpr qint64 usualChunk = 64 * 1024;
    if (!m_chunks.isEmpty() && m_chunks.last().capacity() - m_chunks.last().size() >= size)
        return;
    m_chunks.append(QByteArray());
    m_chunks.last().reserve(std::max(size, usualChunk));
}

void PackedParagraphs::packText(const Entry &entry, QStringView text)
{
    if (text.isEmpty())
        return;
    QByteArray &chunk = m_chunks.last();
    const qsizetype place = chunk.size();
    chunk.resize(place + text.size() * bytesPerUnit(entry.isWide));
    char *to = chunk.data() + place;
    if (entry.isWide) {
        std::memcpy(to, text.data(), size_t(text.size()) * sizeof(QChar));
    } else {
        std::transform(text.utf16(), text.utf16() + text.size(), to,
                       [](char16_t unit) { return static_cast<char>(unit); });
    }
}

const char *PackedParagraphs::bytesOf(const Entry &entry) const
{
    return m_chunks[entry.chunk].constData() + entry.place;
}

void PackedParagraphs::appendTextTo(QString *text, qint64 index) const
{
    const Entry &entry = m_entries[index];
    if (entry.chunk == isOpen)
        text->append(m_open.at(index).text);
    else if (entry.isWide)
        text->append(textAt(bytesOf(entry), entry.length, true));
    else
        text->append(QLatin1StringView(bytesOf(entry), entry.length));
}

QString PackedParagraphs::documentTextFrom(qint64 index) const
{
    qsizetype length = size() - index;
    for (qint64 i = index; i < size(); ++i)
        length += textLength(i);

    QString text;
    text.reserve(length);
    for (qint64 i = index; i < size(); ++i) {
        appendTextTo(&text, i);
        if (i + 1 < size() || isTerminated(i))
            text.append(u'\n');
    }
    return text;
}

TranscriptParagraph PackedParagraphs::originOf(qint64 index) const
{
    const Entry &entry = m_entries[index];
    if (entry.chunk == isOpen) {
        const TranscriptParagraph &open = m_open.at(index);
        return {.kind = open.kind, .stream = open.stream, .text = {}, .directionText = {}};
    }
    TranscriptParagraph origin;
    origin.kind = static_cast<TranscriptRecordKind>(entry.kind);
    if (entry.stream != noStream)
        origin.stream = static_cast<TranscriptStream>(entry.stream);
    return origin;
}

TranscriptParagraph PackedParagraphs::at(qint64 index) const
{
    const Entry &entry = m_entries[index];
    if (entry.chunk == isOpen)
        return m_open.at(index);
    TranscriptParagraph paragraph = originOf(index);
    const char *bytes = bytesOf(entry);
    paragraph.text = textAt(bytes, entry.length, entry.isWide);
    paragraph.directionText = paragraph.text;
    if (entry.hasDirectionText) {
        bytes += entry.length * bytesPerUnit(entry.isWide);
        qint64 length = 0;
        std::memcpy(&length, bytes, sizeof length);
        paragraph.directionText = textAt(bytes + sizeof length, length, entry.isWide);
    }
    return paragraph;
}

qint64 PackedParagraphs::textLength(qint64 index) const
{
    const Entry &entry = m_entries[index];
    return entry.chunk == isOpen ? m_open.at(index).text.size() : entry.length;
}

Qt::LayoutDirection PackedParagraphs::firstStrongDirection(qint64 index) const
{
    const Entry &entry = m_entries[index];
    if (entry.chunk == isOpen)
        return console::firstStrongDirection(m_open.at(index).directionText);
    return entry.isRightToLeft ? Qt::RightToLeft : Qt::LeftToRight;
}

const QList<TranscriptParagraph> &PackedParagraphs::all() const
{
    if (!m_isUnpacked) {
        m_unpacked.reserve(size());
        for (qint64 i = 0; i < size(); ++i)
            m_unpacked.append(at(i));
    }
    m_isUnpacked = true;
    return m_unpacked;
}

} // namespace tarn::console
