#pragma once

#include <QCoreApplication>

class QWidget;

namespace tarn::console {

class ProgramSession;

/// Closes a window whose program may still run: with a question, or after the program has ended.
class ClosingController
{
    Q_DECLARE_TR_FUNCTIONS(tarn::console::ConsoleWindow)

public:
    /// Both must outlive the controller.
    ClosingController(ProgramSession *session, QWidget *window);

    /// Asks the user, and returns when there is an answer. With "Stop and close" the window closes
    /// once the run has completed, or the next run, when this one has just ended by itself.
    void ask();

    /// Closes without a question, when the program that runs has been stopped. Dialogs that are
    /// open are cancelled.
    void stopAndClose();

    /// To be called after each run, when everything else about its end is done.
    void handleRunCompleted();
    /// To be called when the program of the run cannot be killed.
    void handleUnkillable();

    /// Whether the window may close although a run is active: it was asked to, and the program
    /// cannot be killed. Nobody waits for its end any more.
    bool hasGivenUp() const;

private:
    void closeUnasked();

    ProgramSession *m_session;
    QWidget *m_window;
    bool m_closeAfterStop = false; ///< the program was asked to stop, and the window closes then
};

} // namespace tarn::console
