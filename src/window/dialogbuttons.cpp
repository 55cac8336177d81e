#include "window/dialogbuttons.h"

#include <QAbstractButton>
#include <QDialog>
#include <QDialogButtonBox>

namespace tarn::console {

void removeButtonIcons(const QDialog *dialog)
{
    const auto *box = dialog->findChild<QDialogButtonBox *>();
    if (!box)
        return;
    const QList<QAbstractButton *> buttons = box->buttons();
    for (QAbstractButton *button : buttons)
        button->setIcon({});
}

} // namespace tarn::console
