#pragma once

#include <QString>

class QFileDialog;

namespace tarn::console {

/// Asks for a file by a dialog that is ready but for how it looks: in the font of its window, with
/// a folder that is read from its root and columns that show sizes and dates whole, and no larger
/// than the screen. Only files of this machine can be chosen. Returns the path, with the bytes that
/// are not UTF-8 as FileName has them; empty for none.
QString chosenFile(QFileDialog *dialog);

} // namespace tarn::console
