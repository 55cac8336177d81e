#pragma once

#include <QString>

class QTextDocument;

namespace tarn::console {

/// The heights that a LazyDocumentLayout knows, from the first block to the last, for example
/// `2*line(32) gap(3200?) line(64)`: equal ones in a row are counted, and what is only guessed is
/// one gap with the sum.
QString heightShape(const QTextDocument &document);

} // namespace tarn::console
