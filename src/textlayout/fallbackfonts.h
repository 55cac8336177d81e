#pragma once

#include <QList>
#include <QTextLayout>

class QFont;
class QString;

namespace tarn::console {

/// The parts of a text for which it is known at once what draws them when the families of a font
/// do not, with a format that says so: the only other family that has the characters, or, where no
/// family has, the first one's box. They look as without; but then Qt asks every installed family
/// for every character, whenever the text is shaped: up to 5 microseconds each, 0.1 s for 64 KiB,
/// and 8 milliseconds more for each script. Nothing for a font whose first family is not installed.
///
/// What has formats of its own is shaped apart, and where a line ends in it, the line may be lower:
/// elsewhere Qt counts the fonts of what is in the next line, too. So nothing for a text with fewer
/// such characters, in code units, either; unless Qt would open all fonts for one of them in vain.
QList<QTextLayout::FormatRange> fallbackFormats(const QString &text, const QFont &font,
                                                qsizetype fewest = 64);

} // namespace tarn::console
