#pragma once

#include "widgets/paragraphpresentation.h"

class QTextEdit;

namespace tarn::console {

/// Why a draft needs another presentation.
enum class DraftChange {
    Edit,      ///< its text was edited
    Direction, ///< the user chose another content direction
};

/// Gives a plain-text editor and all its blocks a presentation, and keeps its cursor. Undoing never
/// undoes a presentation alone: it belongs to the edit that made it necessary. Another content
/// direction holds for every text that undo could bring back, so undo starts afresh then.
void presentDraft(QTextEdit *draft, ParagraphPresentation presentation, DraftChange change);

} // namespace tarn::console
