#pragma once

#include <QtGlobal>

namespace tarn::console {

/// C0 controls, DEL and C1 controls (TAB, LF and CR included).
constexpr bool isControlCharacter(uint codePoint)
{
    return codePoint <= 0x1F || (codePoint >= 0x7F && codePoint <= 0x9F);
}

/// The bidirectional formatting characters (UAX #9, section 2): U+061C, U+200E, U+200F, U+202A to
/// U+202E and U+2066 to U+2069.
constexpr bool isBidiFormattingCharacter(uint codePoint)
{
    return codePoint == 0x061C || codePoint == 0x200E || codePoint == 0x200F
           || (codePoint >= 0x202A && codePoint <= 0x202E)
           || (codePoint >= 0x2066 && codePoint <= 0x2069);
}

/// Whether text of unknown origin shows this code point as an escape instead of itself. Everything
/// that shows such text asks here, so one more line here is one more escape everywhere. Output
/// keeps its TABs and line breaks; whoever shows a text on one line may escape more.
constexpr bool isShownAsEscape(uint codePoint)
{
    return isControlCharacter(codePoint) || isBidiFormattingCharacter(codePoint);
}

namespace detail {

constexpr int codePointEscapeDigits(uint codePoint)
{
    int digits = 4;
    while (digits < 8 && codePoint >> (4 * digits) != 0)
        ++digits;
    return digits;
}

/// Returns where the digits end.
constexpr char16_t *writeHexadecimal(uint number, int digits, char16_t *to)
{
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
        *to++ = u"0123456789ABCDEF"[(number >> shift) & 0xF];
    return to;
}

} // namespace detail

/// Length of "\u{202E}": at least four hexadecimal digits, upper case.
constexpr qsizetype codePointEscapeSize(uint codePoint)
{
    return 4 + detail::codePointEscapeDigits(codePoint);
}

/// Writes so many code units.
constexpr void writeCodePointEscape(uint codePoint, char16_t *to)
{
    *to++ = u'\\';
    *to++ = u'u';
    *to++ = u'{';
    to = detail::writeHexadecimal(codePoint, detail::codePointEscapeDigits(codePoint), to);
    *to = u'}';
}

/// Length of "\xFF".
constexpr qsizetype byteEscapeSize = 4;

constexpr void writeByteEscape(uchar byte, char16_t *to)
{
    *to++ = u'\\';
    *to++ = u'x';
    detail::writeHexadecimal(byte, 2, to);
}

} // namespace tarn::console
