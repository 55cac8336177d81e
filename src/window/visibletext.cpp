#include "window/visibletext.h"

#include "transcript/incrementaloutputdecoder.h"

#include <algorithm>

namespace tarn::console {

namespace {

bool needsEscape(QChar unit)
{
    constexpr char16_t lineSeparator = 0x2028;
    constexpr char16_t paragraphSeparator = 0x2029;
    const char16_t code = unit.unicode();
    return IncrementalOutputDecoder::isUnsupportedControl(code)
           || IncrementalOutputDecoder::isBidiFormattingControl(code) || code == lineSeparator
           || code == paragraphSeparator;
}

} // namespace

QString visibleText(const QString &text)
{
    if (std::none_of(text.begin(), text.end(), needsEscape))
        return text;
    QString visible;
    for (const QChar unit : text) {
        if (needsEscape(unit))
            visible += IncrementalOutputDecoder::codePointEscape(unit.unicode());
        else
            visible += unit;
    }
    return visible;
}

} // namespace tarn::console
