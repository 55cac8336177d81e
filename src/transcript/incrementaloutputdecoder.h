#pragma once

#include "transcript/decoderfragment.h"

#include <QByteArrayView>
#include <QList>
#include <QString>

#include <array>

namespace tarn::console {

/// Turns the bytes of one output stream into text that is safe to show.
///
/// The bytes are taken as UTF-8 (Unicode 15, section 3.9, table 3-7). What is not well-formed, the
/// control characters except TAB, a carriage return that no line feed follows, and the
/// bidirectional formatting characters (UAX #9, section 2) become visible escapes: "\xFF" for a
/// byte, "\u{202E}" for a code point. Nothing is dropped and nothing fails; the result does not
/// depend on how the bytes are cut into chunks.
///
/// Fragment lists are normalised: two Text fragments never stand next to each other.
class IncrementalOutputDecoder
{
public:
    /// Decodes one chunk. An incomplete character and a trailing carriage return are kept.
    QList<DecoderFragment> append(QByteArrayView bytes);

    /// End of the stream: what is still kept comes out as escapes, and the decoder is empty again.
    QList<DecoderFragment> finish();

    /// U+061C, U+200E, U+200F, U+202A to U+202E and U+2066 to U+2069.
    static bool isBidiFormattingControl(uint codePoint);
    /// C0 controls, DEL and C1 controls (TAB, LF and CR included).
    static bool isUnsupportedControl(uint codePoint);
    /// "\u{000D}": at least four upper-case hexadecimal digits.
    static QString codePointEscape(uint codePoint);
    /// "\xFF": two upper-case hexadecimal digits.
    static QString byteEscape(uchar byte);

    /// Appends to the Text that ends the list, or appends a new one.
    static void appendText(QList<DecoderFragment> *fragments, const QString &text,
                           const QString &directionText);
    /// Appends a decoded character, or its escape.
    static void appendCodePoint(QList<DecoderFragment> *fragments, uint codePoint);
    static void appendBreak(QList<DecoderFragment> *fragments);

private:
    class FragmentBuilder;

    void appendByte(uchar byte);
    void flushPendingUtf8(FragmentBuilder &builder);
    void takeByte(uchar byte, FragmentBuilder &builder);
    void dropPendingBytes(int count);

    /// Start of a sequence that has not been completed: three bytes at most between calls.
    std::array<uchar, 4> m_pendingUtf8{};
    int m_pendingUtf8Size = 0;
    /// A carriage return was seen, and the next byte decides what it means.
    bool m_pendingCarriageReturn = false;
};

} // namespace tarn::console
