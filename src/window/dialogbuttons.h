#pragma once

class QDialog;

namespace tarn::console {

/// Takes the icons off the buttons of a dialog: beside an icon, Qt's own style draws right-to-left
/// texts against the border of the button.
void removeButtonIcons(const QDialog *dialog);

} // namespace tarn::console
