#pragma once

#include <QString>

namespace tarn::console {

/// Whether a text has a letter that is written from right to left.
bool hasRightToLeftLetters(QStringView text);

/// A path, or a message that names one, for display only: a left-to-right mark after each "/" that
/// follows right-to-left letters. Without it, neighbouring Arabic folders change places: the "/"
/// between them takes their direction. The beginning of a text is marked as in the whole.
QString withPathMarks(const QString &text);

} // namespace tarn::console
