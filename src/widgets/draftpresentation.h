#pragma once

#include "widgets/paragraphpresentation.h"

class QTextEdit;

namespace tarn::console {

/// Gives a plain-text editor and all its blocks a presentation, and keeps its cursor. Undoing never
/// undoes a presentation alone: it belongs to the last edit or, where nothing can be undone, is no
/// undo step at all. Meanwhile the editor tells nobody of a change.
void presentDraft(QTextEdit *draft, ParagraphPresentation presentation);

} // namespace tarn::console
