#pragma once

#include <QString>

namespace tarn::console {

/// How a path or a message of unknown origin is drawn: controls, line breaks, bidirectional
/// formatting characters and characters that are drawn as nothing as escapes of the transcript's
/// form, so that two different texts never look the same because of them. A text without any comes
/// back as it is.
QString visibleText(const QString &text);

/// The beginning and the end of a text that is longer than so many characters, with an ellipsis
/// between them. Of a path, the end matters more.
QString shortenedText(const QString &text, qsizetype characters);

/// A text of unknown origin for a tool tip: visible, literal, and folded where it would be wider
/// than a screen.
QString visibleToolTip(const QString &text);

} // namespace tarn::console
