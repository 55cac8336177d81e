#pragma once

#include <QString>

#include <vector>

namespace tarn::benchmark {

/// A text that a hostile or broken program may print, and that takes long to shape.
struct SlowText
{
    const char *name;
    QString pattern; ///< to be repeated
    /// Of the pattern, of a part of it when it is longer, or of several together.
    QString line(qsizetype bytes) const;
};

/// All scripts of Unicode in groups, and everything known to be slow or odd.
std::vector<SlowText> slowTexts();

} // namespace tarn::benchmark
