#pragma once

#include "widgets/paragraphpresentation.h"

#include <QTextFormat>

#include <map>
#include <optional>
#include <utility>

class QTextBlock;

namespace tarn::console {

/// A format that holds a presentation and nothing else, as the integer properties LayoutDirection
/// and BlockAlignment. The alignment is the plain flag without Qt::AlignAbsolute.
QTextBlockFormat blockFormatFor(ParagraphPresentation presentation);

/// Whether the format's two properties say exactly this presentation.
bool hasBlockPresentation(const QTextBlockFormat &format, ParagraphPresentation presentation);

/// The formats of blocks once they get a presentation. Most blocks share them, and to make one
/// costs more than to set it.
class FormatsToChange
{
public:
    /// Null for a block that has the presentation already. Lives as long as this object.
    const QTextBlockFormat *changed(const QTextBlock &block, ParagraphPresentation presentation);

private:
    using DirectionAndAlignment = std::pair<int, int>;
    std::map<std::pair<int, DirectionAndAlignment>, std::optional<QTextBlockFormat>> m_formats;
};

} // namespace tarn::console
