#pragma once

#include "support/popupmeeting.h"
#include "window/consolewindowfixture.h"

#include <QApplication>
#include <QTest>

#include <functional>

/// Where the Tab key leads to, in the window and in every dialog.
namespace tarn::console {

using TabVisit = std::function<void(QWidget *)>;

/// Presses Tab, or Shift+Tab, from where the focus is until it is there again, and looks at each
/// widget on the way. Returns the way, which ends where it began; not at all where the key is
/// caught.
inline QList<QWidget *> walk(QWidget *window, Qt::Key key, const TabVisit &visit = {})
{
    constexpr int longest = 40;
    QList<QWidget *> way;
    do {
        QWidget *here = window->focusWidget();
        if (!here)
            return {};
        way.append(here);
        if (visit)
            visit(here);
        QTest::keyClick(window->windowHandle(), key,
                        key == Qt::Key_Backtab ? Qt::ShiftModifier : Qt::NoModifier);
    } while (window->focusWidget() != way.constFirst() && way.size() < longest);
    way.append(window->focusWidget());
    return way;
}

/// Every dialog of the window, by the name of what opens it.
inline const QList<QByteArray> &dialogs()
{
    static const QList<QByteArray> names{"openAction", "chooseTarnAction", "settingsAction",
                                         "helpAction", "quitAction"};
    return names;
}

/// Opens a dialog, looks at it once it has the keyboard, and closes it. For "quitAction" a program
/// has to run.
inline bool meetActiveDialog(const ConsoleWindowFixture &fixture, const QByteArray &opener,
                             const std::function<void(QDialog *)> &look)
{
    return meetDialog([&] { fixture.trigger(opener.constData()); },
                      [&](QDialog *dialog) {
                          // Qt gives some their focus only when they are the active window.
                          QTRY_VERIFY_WITH_TIMEOUT(
                              dialog->isActiveWindow() && dialog->focusWidget(), patience);
                          look(dialog);
                      });
}

} // namespace tarn::console
