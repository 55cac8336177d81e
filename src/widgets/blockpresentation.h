#pragma once

#include "widgets/paragraphpresentation.h"

class QTextBlockFormat;

namespace tarn::console {

/// A format that holds a presentation and nothing else, as the integer properties LayoutDirection
/// and BlockAlignment. The alignment is the plain flag without Qt::AlignAbsolute.
QTextBlockFormat blockFormatFor(ParagraphPresentation presentation);

/// Whether the format's two properties say exactly this presentation.
bool hasBlockPresentation(const QTextBlockFormat &format, ParagraphPresentation presentation);

} // namespace tarn::console
