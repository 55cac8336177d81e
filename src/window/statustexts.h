#pragma once

#include "session/inputsendresult.h"
#include "session/programoutcome.h"
#include "session/programsessionstate.h"
#include "window/statusmessage.h"

#include <QCoreApplication>

namespace tarn::console {

/// Every sentence that the status labels show, in the current interface language, and the headings
/// of the transcript's records. A status keeps its language until the next one replaces it.
class StatusTexts
{
    Q_DECLARE_TR_FUNCTIONS(tarn::console::ConsoleWindow)

public:
    /// What to run.
    static StatusMessage noSource();
    static StatusMessage sourceUnreadable(const QString &path);
    static StatusMessage interpreterUnavailable(const QString &reason);
    static StatusMessage interpreterSelected();

    /// The run. Empty for a state that an outcome follows, which says more.
    static StatusMessage runState(ProgramSessionState state);
    static StatusMessage limitReached();
    static StatusMessage outcome(const ProgramOutcome &outcome);

    /// The program's input.
    static StatusMessage sendResult(InputSendResult result);
    static StatusMessage multilineRefused();
    static StatusMessage inputClosed(bool linePending, bool draftLeft);
    static StatusMessage inputAfterRun(bool open);
    /// Whether a status says that the draft was not sent, in any sentence.
    static bool saysNotSent(const QString &status);

    /// The settings.
    static StatusMessage settingsNotSaved();

    /// The search.
    static StatusMessage noMatch();
    static StatusMessage wrapped();

    /// What only assistive technology is told.
    static QString errorOutput(const QString &text);
    static QString linesLeftOut(qint64 count);

    /// Records of the transcript.
    static QString runLabel(const QString &fileName);
    static QString echoLabel();
};

} // namespace tarn::console
