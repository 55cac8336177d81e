#pragma once

#include "transcript/decodedtext.h"
#include "transcript/decoderfragment.h"
#include "transcript/visibleescape.h"

#include <QByteArrayView>
#include <QList>
#include <QString>

#include <array>

namespace tarn::console {

/// Turns the bytes of one output stream into text that is safe to show.
///
/// The bytes are taken as UTF-8 (Unicode 15, section 3.9, table 3-7). What is not well-formed
/// becomes a visible escape, such as "\xFF" for a byte, and so does every code point for which
/// isShownAsEscape() says so, such as "\u{202E}"; except TABs and line breaks, which are LF or
/// CR LF. Nothing is dropped and nothing fails; the result does not depend on how the bytes are cut
/// into chunks.
///
/// Fragment lists are normalised: two Text fragments never stand next to each other.
class IncrementalOutputDecoder
{
public:
    /// Decodes one chunk. An incomplete character and a trailing carriage return are kept.
    QList<DecoderFragment> append(QByteArrayView bytes);

    /// The same in one piece.
    DecodedText decode(QByteArrayView bytes);

    /// End of the stream: what is still kept comes out as escapes, and the decoder is empty again.
    QList<DecoderFragment> finish();
    DecodedText decodeRest();

    static constexpr bool isBidiFormattingControl(uint codePoint)
    {
        return isBidiFormattingCharacter(codePoint);
    }
    static constexpr bool isUnsupportedControl(uint codePoint)
    {
        return isControlCharacter(codePoint);
    }
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
    void appendByte(uchar byte);
    void flushPendingUtf8(DecodedTextBuilder &builder);
    void takeByte(uchar byte, DecodedTextBuilder &builder);
    void dropPendingBytes(int count);

    /// Start of a sequence that has not been completed: three bytes at most between calls.
    std::array<uchar, 4> m_pendingUtf8{};
    int m_pendingUtf8Size = 0;
    /// A carriage return was seen, and the next byte decides what it means.
    bool m_pendingCarriageReturn = false;
};

} // namespace tarn::console
