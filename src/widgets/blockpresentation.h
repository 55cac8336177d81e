#pragma once

#include "widgets/paragraphpresentation.h"

class QTextBlockFormat;

namespace tarn::console {

/// Writes a presentation into a block format, as the integer properties LayoutDirection and
/// BlockAlignment. The alignment is the plain flag without Qt::AlignAbsolute.
void setBlockPresentation(QTextBlockFormat *format, ParagraphPresentation presentation);

/// A format that holds these two properties only.
QTextBlockFormat blockFormatFor(ParagraphPresentation presentation);

/// Whether the format's two properties say exactly this presentation.
bool hasBlockPresentation(const QTextBlockFormat &format, ParagraphPresentation presentation);

} // namespace tarn::console
