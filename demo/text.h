#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tarn::demo {

/// What counts as space inside a line: blank and TAB. A no-break space is text.
inline constexpr std::string_view blanks = " \t";

std::string_view trimmed(std::string_view text);

/// The number of characters (code points) of well-formed UTF-8.
int characterCount(std::string_view text);

/// The offset of the first byte that is not part of well-formed UTF-8, if there is one.
std::optional<std::size_t> firstInvalidByte(std::string_view text);

/// A whole number from 0 to 999,999,999 in Western (7), Arabic (٧) or Persian (۷) digits, blanks
/// around it allowed; nothing when the text is anything else.
std::optional<int> parseNumber(std::string_view text);

/// The same word however carefully it is written in Arabic: أ, إ and آ become ا, and the vowel
/// marks are dropped.
std::string plainSpelling(std::string_view word);

} // namespace tarn::demo
