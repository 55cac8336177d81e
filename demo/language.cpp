#include "language.h"

namespace tarn::demo {

std::string say(const Phrase &phrase, Language language,
                std::initializer_list<std::string_view> values)
{
    const std::string_view pattern = language == Language::Arabic ? phrase.arabic : phrase.english;
    std::string text;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const std::size_t value =
            i + 1 < pattern.size() ? static_cast<std::size_t>(pattern[i + 1] - '1') : values.size();
        if (pattern[i] == '%' && value < values.size()) {
            text += values.begin()[value];
            ++i;
        } else {
            text += pattern[i];
        }
    }
    return text;
}

} // namespace tarn::demo
