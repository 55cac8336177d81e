#pragma once

#include <QStringList>

namespace tarn::console {

/// The name filters of a file dialog as the choosers of desktops need them: Qt gives those on only
/// if their patterns are ASCII, and otherwise takes the words of the filter for its patterns, which
/// no file matches. Every other letter of a pattern becomes one that stands for all beyond ASCII.
QStringList nativeNameFilters(QStringList filters);

} // namespace tarn::console
