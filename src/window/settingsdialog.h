#pragma once

#include <QCoreApplication>
#include <QDialog>

class QComboBox;
class QFontComboBox;
class QSpinBox;

namespace tarn::console {

struct Preferences;

/// Lets the user change the language and the font.
class SettingsDialog : public QDialog
{
    Q_DECLARE_TR_FUNCTIONS(tarn::console::ConsoleWindow)

public:
    /// The fields show the preferences.
    SettingsDialog(const Preferences &preferences, QWidget *parent);

    /// Writes what the fields say now into the preferences, and leaves the others as they are. A
    /// family is always named then.
    void applyTo(Preferences *preferences) const;

private:
    QComboBox *m_language;
    QFontComboBox *m_family;
    QSpinBox *m_size;
};

} // namespace tarn::console
