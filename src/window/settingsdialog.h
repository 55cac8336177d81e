#pragma once

#include "window/preferences.h"

#include <QCoreApplication>
#include <QDialog>

class QComboBox;
class QFontComboBox;
class QSpinBox;

namespace tarn::console {

/// Lets the user change the language and the font.
class SettingsDialog : public QDialog
{
    Q_DECLARE_TR_FUNCTIONS(tarn::console::ConsoleWindow)

public:
    SettingsDialog(const Preferences &preferences, QWidget *parent);

    /// The preferences with what the fields say now. A family is always named then.
    Preferences preferences() const;

private:
    Preferences m_preferences;
    QComboBox *m_language;
    QFontComboBox *m_family;
    QSpinBox *m_size;
};

} // namespace tarn::console
