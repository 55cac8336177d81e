#pragma once

#include <QChar>
#include <QStringView>

namespace tarn::console {

/// The character that begins at a code unit of a text; half of a pair stands for itself.
inline char32_t codePointAt(QStringView text, qsizetype position)
{
    const QChar unit = text[position];
    if (unit.isHighSurrogate() && position + 1 < text.size() && text[position + 1].isLowSurrogate())
        return QChar::surrogateToUcs4(unit, text[position + 1]);
    return unit.unicode();
}

} // namespace tarn::console
