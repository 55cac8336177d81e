#include "window/statustexts.h"

namespace tarn::console {

StatusMessage StatusTexts::noSource()
{
    return {tr("Choose a source file / اختر ملف مصدر.")};
}

StatusMessage StatusTexts::sourceUnreadable(const QString &path)
{
    return {tr("Selected source is missing or unreadable: %1"), path};
}

StatusMessage StatusTexts::interpreterUnavailable(const QString &reason)
{
    return {tr("TARN executable is unavailable. Choose TARN / اختر TARN. %1"), reason};
}

StatusMessage StatusTexts::interpreterSelected()
{
    return {tr("TARN executable selected")};
}

StatusMessage StatusTexts::runState(ProgramSessionState state)
{
    switch (state) {
    case ProgramSessionState::Starting:
        return {tr("Starting TARN program")};
    case ProgramSessionState::Running:
        return {tr("Running")};
    case ProgramSessionState::Stopping:
        return {tr("Stopping")};
    case ProgramSessionState::Idle:
    case ProgramSessionState::Finished:
    case ProgramSessionState::Failed:
        break;
    }
    return {};
}

StatusMessage StatusTexts::limitReached()
{
    return {tr("Output capture limit reached")};
}

StatusMessage StatusTexts::outcome(const ProgramOutcome &outcome)
{
    switch (outcome.kind) {
    case ProgramOutcomeKind::Exited:
        return {tr("Returned status %1"), QString::number(outcome.exitCode)};
    case ProgramOutcomeKind::Crashed:
        return {tr("Program terminated by signal")};
    case ProgramOutcomeKind::FailedToStart:
        return {tr("Could not start TARN: %1"), outcome.message};
    case ProgramOutcomeKind::ProcessError:
        return {tr("Console process failure: %1"), outcome.message};
    case ProgramOutcomeKind::Stopped:
        return {tr("Program stopped by user")};
    }
    return {};
}

StatusMessage StatusTexts::sendResult(InputSendResult result)
{
    switch (result) {
    case InputSendResult::Sent:
        return {tr("Input sent.")};
    case InputSendResult::Pending:
        return {tr("Sending input")};
    case InputSendResult::NotRunning:
        return {tr("Start a program before sending input.")};
    case InputSendResult::InputClosed:
        return {tr("Input is closed for this run.")};
    case InputSendResult::NotOneLine:
        return {tr("Program input must be one line.")};
    case InputSendResult::TooLong:
        return {tr("Program input exceeds the 65,536-byte limit.")};
    }
    return {};
}

StatusMessage StatusTexts::multilineRefused()
{
    return {tr("Program input must be one line. The draft was unchanged.")};
}

StatusMessage StatusTexts::inputClosed(bool linePending, bool draftLeft)
{
    if (linePending)
        return {tr("Closing input after the pending line.")};
    if (draftLeft)
        return {tr("Input closed. The draft was not sent.")};
    return {tr("Input closed for this run.")};
}

StatusMessage StatusTexts::inputAfterRun(bool open)
{
    return {open ? tr("Input is open.") : tr("Run complete.")};
}

bool StatusTexts::saysNotSent(const QString &status)
{
    return status.contains(tr("not sent"));
}

StatusMessage StatusTexts::noMatch()
{
    return {tr("No match")};
}

StatusMessage StatusTexts::wrapped()
{
    return {tr("Wrapped")};
}

QString StatusTexts::errorOutput(const QString &text)
{
    return tr("Error output: %1").arg(text);
}

QString StatusTexts::linesLeftOut(qint64 count)
{
    return tr("Lines left out: %1").arg(count);
}

QString StatusTexts::runLabel(const QString &fileName)
{
    return tr("Run: %1").arg(fileName);
}

QString StatusTexts::echoLabel()
{
    return tr("Input");
}

} // namespace tarn::console
