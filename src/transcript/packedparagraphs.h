#pragma once

#include "transcript/transcriptparagraph.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringView>
#include <Qt>

#include <map>

namespace tarn::console {

/// The paragraphs of a transcript, packed: a paragraph that has ended never changes, and most are
/// short and Latin, so what it says is kept with others in one array, in one byte for each
/// character where that will do. Those that may still grow are kept as they are. No index is
/// checked.
class PackedParagraphs
{
public:
    qint64 size() const { return m_entries.size(); }
    TranscriptParagraph at(qint64 index) const;
    /// The paragraph without its texts.
    TranscriptParagraph originOf(qint64 index) const;
    qint64 textLength(qint64 index) const;
    bool isTerminated(qint64 index) const { return m_entries[index].isTerminated; }
    /// Of the direction text.
    Qt::LayoutDirection firstStrongDirection(qint64 index) const;
    void appendTextTo(QString *text, qint64 index) const;
    /// The texts from one on, joined by LF, and a final LF if a line break ended the last one.
    QString documentTextFrom(qint64 index) const;

    /// All of them, unpacked, and from then on up to date whenever the list is looked at again.
    const QList<TranscriptParagraph> &all() const;

    /// The origin's own texts do not matter.
    void add(const TranscriptParagraph &origin, QStringView text, QStringView directionText,
             bool terminated);
    void append(qint64 index, QStringView text, QStringView directionText);
    /// It grows no more.
    void terminate(qint64 index);
    void clear();

private:
    struct Entry
    {
        qint32 chunk = isOpen; ///< which holds its text,
        qint32 place = 0;      ///< from there on
        qint32 length = 0;     ///< of the text
        qint8 kind = 0;
        qint8 stream = noStream;
        bool isTerminated : 1 = false;
        bool isWide : 1 = false; ///< two bytes for each code unit
        bool isRightToLeft : 1 = false;
        bool hasDirectionText : 1 = false; ///< another, after the text
    };
    static constexpr qint32 isOpen = -1;
    static constexpr qint8 noStream = -1;

    static bool isPackable(const TranscriptParagraph &origin, QStringView text,
                           QStringView directionText);
    void pack(Entry *entry, const TranscriptParagraph &origin, QStringView text,
              QStringView directionText);
    void makeRoom(qint64 size);
    void packText(const Entry &entry, QStringView text);
    const char *bytesOf(const Entry &entry) const;

    QList<Entry> m_entries;
    QList<QByteArray> m_chunks;
    std::map<qint64, TranscriptParagraph> m_open; ///< by index
    mutable QList<TranscriptParagraph> m_unpacked;
    mutable bool m_isUnpacked = false;
};

} // namespace tarn::console
