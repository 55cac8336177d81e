#include "transcript/packedrecords.h"

#include <QStringDecoder>

#include <array>
#include <cstring>
#include <limits>
#include <utility>

namespace tarn::console {

namespace {

/// All strings of one character below a bound, each with its terminator.
template<typename Character, size_t Bound>
constexpr std::array<Character, 2 * Bound> singleCharacters = [] {
    std::array<Character, 2 * Bound> all{};
    for (size_t i = 0; i < Bound; ++i)
        all[2 * i] = Character(i);
    return all;
}();

/// A single byte comes from a table and takes no memory of its own.
QByteArray bytesOf(QByteArrayView bytes)
{
    if (bytes.size() != 1)
        return bytes.toByteArray();
    return QByteArray::fromRawData(&singleCharacters<char, 0x100>[2 * uchar(bytes.front())], 1);
}

/// A single character, likewise. A byte order mark is a character like others.
QString textOf(QByteArrayView utf8)
{
    if (utf8.size() == 1) {
        const char16_t *single = &singleCharacters<char16_t, 0x80>[2 * uchar(utf8.front())];
        return QString::fromRawData(reinterpret_cast<const QChar *>(single), 1);
    }
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
    QString text = decoder(utf8);
    text.squeeze();
    return text;
}

bool isSameText(QByteArrayView bytes, QStringView text)
{
    if (text.size() < bytes.size())
        return text.toUtf8() == bytes;
    // Both without a branch, so that the compiler and Qt take many characters at once.
    uchar bits = 0;
    for (const char byte : bytes)
        bits |= uchar(byte);
    return bits < 0x80 && QLatin1StringView(bytes) == text;
}

/// QByteArray::append() copies all to another place whenever it needs more room.
void appendTo(QByteArray *to, QByteArrayView bytes)
{
    if (bytes.isEmpty())
        return;
    const qsizetype size = to->size();
    to->resize(size + bytes.size());
    std::memcpy(to->data() + size, bytes.data(), size_t(bytes.size()));
}

bool isPackable(QByteArrayView bytes, QStringView text)
{
    // No character of the text takes more than three bytes for each of its code units.
    constexpr qsizetype most = std::numeric_limits<qint32>::max() / 3;
    return bytes.size() <= most && text.size() <= most;
}

TranscriptRecord outputRecord(TranscriptStream stream, QByteArrayView bytes, QStringView text)
{
    TranscriptRecord record;
    record.kind = TranscriptRecordKind::StreamOutput;
    record.stream = stream;
    record.bytes = bytes.toByteArray();
    record.text = text.toString();
    return record;
}

} // namespace

void PackedRecords::append(TranscriptRecord &&record)
{
    if (record.kind == TranscriptRecordKind::StreamOutput && record.stream
        && isPackable(record.bytes, record.text)) {
        pack(*record.stream, record.bytes, record.text);
    } else {
        m_entries.append(Entry());
        m_whole.append(record);
    }
    if (m_isUnpacked)
        m_unpacked.append(std::move(record));
}

void PackedRecords::appendOutput(TranscriptStream stream, QByteArrayView bytes, QStringView text)
{
    if (m_isUnpacked || !isPackable(bytes, text))
        append(outputRecord(stream, bytes, text));
    else
        pack(stream, bytes, text);
}

void PackedRecords::pack(TranscriptStream stream, QByteArrayView bytes, QStringView text)
{
    Entry entry{.byteCount = static_cast<qint32>(bytes.size()),
                .textByteCount = 0,
                .form = Form::SameText,
                .isError = stream == TranscriptStream::StandardError};
    appendTo(&m_bytes, bytes);
    if (!isSameText(bytes, text)) {
        const QByteArray utf8 = text.toUtf8();
        entry.form = Form::OwnText;
        entry.textByteCount = static_cast<qint32>(utf8.size());
        appendTo(&m_texts, utf8);
    }
    m_entries.append(entry);
}

TranscriptRecord PackedRecords::unpack(const Entry &entry, Place *place) const
{
    if (entry.form == Form::Whole)
        return m_whole[place->whole++];
    TranscriptRecord record;
    record.kind = TranscriptRecordKind::StreamOutput;
    record.stream =
        entry.isError ? TranscriptStream::StandardError : TranscriptStream::StandardOutput;
    const auto bytes = QByteArrayView(m_bytes).sliced(place->bytes, entry.byteCount);
    const auto text = QByteArrayView(m_texts).sliced(place->text, entry.textByteCount);
    record.bytes = bytesOf(bytes);
    record.text = textOf(entry.form == Form::SameText ? bytes : text);
    place->bytes += entry.byteCount;
    place->text += entry.textByteCount;
    return record;
}

QList<TranscriptRecord> PackedRecords::from(qint64 first) const
{
    // Those who go along with the output ask for the last ones.
    Place place{.whole = m_whole.size(), .bytes = m_bytes.size(), .text = m_texts.size()};
    for (qint64 i = m_entries.size(); i > first; --i) {
        const Entry &entry = m_entries[i - 1];
        place.whole -= entry.form == Form::Whole ? 1 : 0;
        place.bytes -= entry.byteCount;
        place.text -= entry.textByteCount;
    }
    QList<TranscriptRecord> records;
    records.reserve(m_entries.size() - first);
    for (qint64 i = first; i < m_entries.size(); ++i)
        records.append(unpack(m_entries[i], &place));
    return records;
}

const QList<TranscriptRecord> &PackedRecords::all() const
{
    if (!m_isUnpacked)
        m_unpacked = from(0);
    m_isUnpacked = true;
    return m_unpacked;
}

void PackedRecords::clear()
{
    m_entries.clear();
    m_whole.clear();
    m_bytes.clear();
    m_texts.clear();
    m_unpacked.clear();
}

} // namespace tarn::console
