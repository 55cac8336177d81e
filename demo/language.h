#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace tarn::demo {

enum class Language { English, Arabic };

/// One message of the demo interpreter in both languages; %1 and %2 stand for values.
struct Phrase
{
    std::string_view english;
    std::string_view arabic;
};

/// The phrase in the language asked for, with the values in place of %1, %2.
std::string say(const Phrase &phrase, Language language,
                std::initializer_list<std::string_view> values = {});

} // namespace tarn::demo
