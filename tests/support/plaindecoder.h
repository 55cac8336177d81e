#pragma once

#include "transcript/decoderfragment.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

/// The decoder once more, one byte at a time and without a thought for speed, so that tests can
/// compare the real one with something whose correctness is plain to see.
namespace tarn::console::plain {

/// Control characters, TAB and line ends too, and bidirectional formatting characters.
bool isEscaped(uint codePoint);

class Decoder
{
public:
    QList<DecoderFragment> append(QByteArrayView bytes);
    QList<DecoderFragment> finish();

    /// Adds to the Text that ends the list, or adds a new one.
    static void addText(QList<DecoderFragment> &fragments, const QString &text,
                        const QString &directionText);
    static void addCodePoint(QList<DecoderFragment> &fragments, uint codePoint);
    static void addBreak(QList<DecoderFragment> &fragments);
    static QString codePointEscape(uint codePoint);
    static QString byteEscape(uchar byte);
    /// The character in UTF-16.
    static QString character(uint codePoint);

private:
    QList<DecoderFragment> flush();
    void flushInto(QList<DecoderFragment> &fragments);
    bool flushFront(QList<DecoderFragment> &fragments);

    QByteArray m_pending;
    bool m_pendingCarriageReturn = false;
};

/// The texts of the fragments, each Break as one LF.
QString textOf(const QList<DecoderFragment> &fragments);
qint64 displayBytesOf(const QList<DecoderFragment> &fragments);

} // namespace tarn::console::plain
