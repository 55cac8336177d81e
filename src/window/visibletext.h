#pragma once

#include <QString>

namespace tarn::console {

/// How a path or a message of unknown origin is drawn: controls, line breaks and bidirectional
/// formatting characters as the escapes that the transcript has for them, so that two different
/// texts never look the same because of them. A text without any comes back as it is.
QString visibleText(const QString &text);

} // namespace tarn::console
