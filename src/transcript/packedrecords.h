#pragma once

#include "transcript/transcriptrecord.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QStringView>

namespace tarn::console {

/// The records of a transcript, packed: there is one per chunk of output, and a program may write
/// byte by byte. Hardly anybody ever asks for them, so output is kept as its bytes alone, and as
/// its text where that says something else.
class PackedRecords
{
public:
    qint64 size() const { return m_entries.size(); }
    void append(TranscriptRecord &&record);
    /// A record of output.
    void appendOutput(TranscriptStream stream, QByteArrayView bytes, QStringView text);
    void clear();

    /// The records from one on; the index is not checked.
    QList<TranscriptRecord> from(qint64 first) const;
    /// All of them, unpacked, and from then on up to date whenever the list is looked at again.
    const QList<TranscriptRecord> &all() const;

private:
    enum class Form : qint8 {
        Whole,    ///< among the records that are no output
        SameText, ///< output whose bytes are its text
        OwnText,  ///< output whose text is kept too
    };
    struct Entry
    {
        qint32 byteCount = 0;
        qint32 textByteCount = 0; ///< in UTF-8
        Form form = Form::Whole;
        bool isError = false; ///< standard error
    };
    /// Where the parts of a record begin.
    struct Place
    {
        qsizetype whole = 0;
        qsizetype bytes = 0;
        qsizetype text = 0;
    };

    void pack(TranscriptStream stream, QByteArrayView bytes, QStringView text);
    TranscriptRecord unpack(const Entry &entry, Place *place) const;

    QList<Entry> m_entries;
    QList<TranscriptRecord> m_whole;
    QByteArray m_bytes;
    QByteArray m_texts;
    mutable QList<TranscriptRecord> m_unpacked;
    mutable bool m_isUnpacked = false;
};

} // namespace tarn::console
