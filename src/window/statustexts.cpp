#include "window/statustexts.h"

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

/// A pattern in two languages for the screen: the second one runs in its own direction. The reason
/// at the end is English. It belongs to an English half, and to none that is Arabic.
QString withIsolatedHalf(const QString &pattern)
{
    constexpr QChar leftToRightIsolate(0x2066);
    constexpr QChar rightToLeftIsolate(0x2067);
    constexpr QChar popDirectionalIsolate(0x2069);
    const QString between = u" / "_s;
    const qsizetype start = pattern.indexOf(between) + between.size();
    const bool arabic = pattern.sliced(start).isRightToLeft();
    const qsizetype end = arabic ? pattern.indexOf(u'.', start) : pattern.size();
    if (start < between.size() || end < start)
        return pattern;
    return pattern.first(start) + (arabic ? rightToLeftIsolate : leftToRightIsolate)
           + pattern.sliced(start, end - start) + popDirectionalIsolate + pattern.sliced(end);
}

} // namespace

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
    const QString pattern = tr("TARN executable is unavailable. Choose TARN / اختر TARN. %1");
    return {pattern, reason, withIsolatedHalf(pattern)};
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

StatusMessage StatusTexts::settingsNotSaved()
{
    return {tr("The settings could not be saved.")};
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
