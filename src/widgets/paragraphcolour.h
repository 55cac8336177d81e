#pragma once

#include "transcript/transcriptparagraph.h"

#include <QColor>
#include <QPalette>

namespace tarn::console {

/// Whose words a paragraph shows.
enum class ParagraphVoice : quint8 {
    Output, ///< the program, on its standard output
    Error,  ///< the program, on its standard error
    Echo,   ///< the user
    Notice, ///< the console
};

ParagraphVoice voiceOf(const TranscriptParagraph &paragraph);

/// The contrast of two colours by the Web Content Accessibility Guidelines 2.1: 1 to 21.
qreal contrastRatio(const QColor &one, const QColor &other);

/// In which colour a paragraph is drawn. The output has the colour that the palette has for texts;
/// each other voice has a hue of its own, as light or as dark as the palette's background for texts
/// asks for, but never less than 4.5:1. This is the one place that decides it.
QColor paragraphColour(const TranscriptParagraph &paragraph, const QPalette &palette);

} // namespace tarn::console
