#pragma once

#include <QChar>
#include <QString>

namespace tarn::console {

/// What the installed fonts can draw together, by what fontconfig knows of them. Qt takes its fonts
/// from there, too, but finds one by asking all of them, one after the other. Fonts that come or go
/// later are not seen; Qt does not see them either.
namespace FontCoverage {

/// The families that have a glyph for a character.
struct Families
{
    enum class Count {
        None,
        One,
        Several, ///< or one that Qt may pass over
    };
    Count count = Count::None;
    const QString *family = nullptr; ///< the one; lives as long as the program
};
Families familiesWith(char32_t character);

/// Whether a name is that of an installed family, and not one that stands for another.
bool isFamily(const QString &name);

/// Whether Qt draws a script only in a font that has OpenType rules for it.
bool needsRules(QChar::Script script);

/// Whether a font has the rules. Where none has, Qt opens every font in vain, and draws boxes.
bool hasRules(QChar::Script script);

} // namespace FontCoverage

} // namespace tarn::console
