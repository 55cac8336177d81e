#include "window/consolewindow.h"

#include "widgets/inputeditor.h"
#include "widgets/transcriptview.h"
#include "window/pathlabel.h"

#include <QAction>
#include <QCoreApplication>
#include <QDir>
#include <QEvent>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QToolButton>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

QStringList catalogueDirectories()
{
    const QDir application(QCoreApplication::applicationDirPath());
    return {QStringLiteral(TARN_BUILD_TRANSLATIONS_DIR), u"/usr/share/tarn-console/translations"_s,
            application.filePath(u"../share/tarn-console/translations"_s),
            application.absolutePath()};
}

} // namespace

void ConsoleWindow::installTranslator()
{
    const QStringList directories = catalogueDirectories();
    for (const QString &directory : directories) {
        const QString catalogue = QDir(directory).filePath(u"tarn_console_ar.qm"_s);
        // Empty, but not null: otherwise shortened and completed names would be tried too.
        if (m_translator.load(catalogue, u""_s, u""_s, u""_s)) {
            QCoreApplication::installTranslator(&m_translator);
            return;
        }
    }
}

void ConsoleWindow::setInterfaceLanguage(const QString &code, bool save)
{
    const bool english = code == "en"_L1;
    QCoreApplication::removeTranslator(&m_translator);
    if (!english)
        installTranslator();
    m_interfaceLanguage = english ? u"en"_s : u"ar"_s;
    QGuiApplication::setLayoutDirection(english ? Qt::LeftToRight : Qt::RightToLeft);
    if (centralWidget()) {
        retranslateUi();
        updateActionStates();
    }
    if (save)
        savePreferences();
}

void ConsoleWindow::changeEvent(QEvent *event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::LanguageChange && centralWidget())
        retranslateUi();
}

/// Sets every text that is always visible. The status labels keep theirs until the next event.
void ConsoleWindow::retranslateUi()
{
    retranslateLabels();
    retranslateMenus();
    retranslateActions();
    updateSourcePathLabel();
    m_arabicLanguageAction->setChecked(m_interfaceLanguage == "ar"_L1);
    m_englishLanguageAction->setChecked(m_interfaceLanguage == "en"_L1);
}

void ConsoleWindow::retranslateLabels()
{
    setWindowTitle(tr("TARN Console"));
    findChild<QLabel *>(u"consoleTitle"_s)->setText(tr("TARN Console"));
    findChild<QLabel *>(u"sourceLabel"_s)->setText(tr("Source file"));
    findChild<QLabel *>(u"programInputLabel"_s)->setText(tr("Program input"));
    m_findField->setPlaceholderText(tr("Find output"));
    // For screen readers; the other controls are named by their label or their own text.
    m_findField->setAccessibleName(tr("Find output"));
    m_transcriptView->setAccessibleName(tr("Program output"));
    m_draftEditor->setAccessibleName(tr("Program input"));
    reserveSearchStatusWidth();
}

void ConsoleWindow::retranslateMenus()
{
    m_fileMenu->setTitle(tr("File"));
    m_editMenu->setTitle(tr("Edit"));
    m_viewMenu->setTitle(tr("View"));
    m_languageMenu->setTitle(tr("Language"));
    m_helpMenu->setTitle(tr("Help"));
    m_directionMenu->setTitle(tr("Content direction"));
    m_directionButton->setText(tr("Content direction"));
    m_languageButton->setText(tr("Language"));
}

void ConsoleWindow::retranslateActions()
{
    m_openAction->setText(tr("Open"));
    m_chooseTarnAction->setText(tr("Choose TARN"));
    m_runAction->setText(tr("Run"));
    m_stopAction->setText(tr("Stop"));
    m_sendAction->setText(tr("Send"));
    m_closeInputAction->setText(tr("Close input"));
    m_copyAction->setText(tr("Copy"));
    m_pasteAction->setText(tr("Paste"));
    m_findAction->setText(tr("Find"));
    m_clearAction->setText(tr("Clear output"));
    m_focusTranscriptAction->setText(tr("Focus output"));
    m_focusDraftAction->setText(tr("Focus program input"));
    m_zoomInAction->setText(tr("Zoom in"));
    m_zoomOutAction->setText(tr("Zoom out"));
    m_zoomResetAction->setText(tr("Actual size"));
    m_autoDirectionAction->setText(tr("Auto"));
    m_leftToRightAction->setText(tr("LTR"));
    m_rightToLeftAction->setText(tr("RTL"));
    m_arabicLanguageAction->setText(tr("العربية"));
    m_englishLanguageAction->setText(tr("English"));
    m_settingsAction->setText(tr("Settings"));
    m_helpAction->setText(tr("TARN Console help"));
    m_quitAction->setText(tr("Quit"));
}

} // namespace tarn::console
