#include "text.h"

#include <algorithm>
#include <array>

namespace tarn::demo {

namespace {

constexpr std::size_t maximumDigits = 9;

/// The length of the well-formed UTF-8 character at the start of `text`, 0 when there is none.
std::size_t characterLength(std::string_view text)
{
    const auto byte = [text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned lead = byte(0);
    if (lead < 0x80)
        return 1;
    if (lead < 0xC2 || lead > 0xF4)
        return 0;
    const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (text.size() < length)
        return 0;
    // The second byte excludes overlong forms, surrogates and what lies beyond U+10FFFF.
    const unsigned low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (byte(1) < low || byte(1) > high)
        return 0;
    for (std::size_t i = 2; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    }
    return length;
}

/// The digit at the start of `text` and the bytes it takes.
struct Digit
{
    int value;
    std::size_t length;
};

std::optional<Digit> leadingDigit(std::string_view text)
{
    if (text.front() >= '0' && text.front() <= '9')
        return Digit{text.front() - '0', 1};
    static constexpr std::array<std::string_view, 20> digits = {"٠", "١", "٢", "٣", "٤", "٥", "٦",
                                                                "٧", "٨", "٩", "۰", "۱", "۲", "۳",
                                                                "۴", "۵", "۶", "۷", "۸", "۹"};
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (text.starts_with(digits[i]))
            return Digit{static_cast<int>(i % 10), digits[i].size()};
    }
    return std::nullopt;
}

} // namespace

std::string_view trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

int characterCount(std::string_view text)
{
    int count = 0;
    for (const char byte : text)
        count += (static_cast<unsigned char>(byte) & 0xC0) != 0x80 ? 1 : 0;
    return count;
}

std::optional<std::size_t> firstInvalidByte(std::string_view text)
{
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = characterLength(text.substr(at));
        if (length == 0)
            return at;
        at += length;
    }
    return std::nullopt;
}

std::optional<int> parseNumber(std::string_view text)
{
    text = trimmed(text);
    if (text.empty())
        return std::nullopt;
    int number = 0;
    for (std::size_t digits = 0; !text.empty(); ++digits) {
        const std::optional<Digit> digit = leadingDigit(text);
        if (!digit || digits == maximumDigits)
            return std::nullopt;
        number = 10 * number + digit->value;
        text.remove_prefix(digit->length);
    }
    return number;
}

std::string plainSpelling(std::string_view word)
{
    constexpr std::array<std::string_view, 3> alefs = {"أ", "إ", "آ"};
    std::string plain;
    while (!word.empty()) {
        const std::string_view character =
            word.substr(0, std::max<std::size_t>(1, characterLength(word)));
        const bool isMark = character >= "\u064B" && character <= "\u0652";
        if (std::find(alefs.begin(), alefs.end(), character) != alefs.end())
            plain += "ا";
        else if (!isMark)
            plain += character;
        word.remove_prefix(character.size());
    }
    return plain;
}

} // namespace tarn::demo
