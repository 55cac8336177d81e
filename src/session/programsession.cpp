#include "session/programsession.h"

#include "session/programrun.h"

#include <QFileInfo>
#include <QPointer>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

void registerMetaTypes()
{
    qRegisterMetaType<ProgramSessionState>("tarn::console::ProgramSessionState");
    qRegisterMetaType<ProgramOutcome>("tarn::console::ProgramOutcome");
    qRegisterMetaType<TranscriptStream>("tarn::console::TranscriptStream");
}

bool isValidLaunch(const ProgramLaunch &launch)
{
    const QFileInfo executable(launch.executable);
    return executable.isFile() && executable.isExecutable()
           && !QFileInfo(launch.sourcePath).isRelative()
           && (launch.diagnosticLanguage == "en"_L1 || launch.diagnosticLanguage == "ar"_L1);
}

ProgramSessionState stateAfter(ProgramOutcomeKind kind)
{
    switch (kind) {
    case ProgramOutcomeKind::FailedToStart:
    case ProgramOutcomeKind::ProcessError:
        return ProgramSessionState::Failed;
    case ProgramOutcomeKind::Exited:
    case ProgramOutcomeKind::Crashed:
    case ProgramOutcomeKind::Stopped:
        break;
    }
    return ProgramSessionState::Finished;
}

} // namespace

ProgramSession::ProgramSession(QObject *parent)
    : QObject(parent)
{
    registerMetaTypes();
}

ProgramSession::~ProgramSession()
{
    if (m_run)
        m_run->abandon();
    if (m_emissions == 0)
        return;
    // We are destroyed by a listener. A process whose signal led to it must outlive that signal.
    const auto processes = findChildren<QProcess *>(QString(), Qt::FindDirectChildrenOnly);
    for (QProcess *process : processes) {
        process->setParent(nullptr);
        process->deleteLater();
    }
}

/// Emits signals one after the other, until a listener destroys the session. All signals of the
/// session are emitted here.
template<typename... Emission>
void ProgramSession::emitInTurn(const Emission &...emissions)
{
    const QPointer<ProgramSession> alive(this);
    ++m_emissions;
    ((alive ? emissions() : void()), ...);
    if (alive)
        --m_emissions;
}

void ProgramSession::setState(ProgramSessionState state)
{
    if (state == m_state)
        return;
    m_state = state;
    const quint64 runId = m_runId;
    emitInTurn([&] { Q_EMIT runStateChanged(runId, state); }, [&] { Q_EMIT stateChanged(state); });
}

bool ProgramSession::isActive() const
{
    return m_state >= ProgramSessionState::Starting && m_state <= ProgramSessionState::Stopping;
}

bool ProgramSession::start(const ProgramLaunch &launch)
{
    if (isActive())
        return false;
    ++m_runId;
    if (!isValidLaunch(launch)) {
        rejectLaunch();
        return false;
    }

    const std::shared_ptr<ProgramRun> run = replaceRun(launch);
    setState(ProgramSessionState::Starting);
    run->start();
    return true;
}

void ProgramSession::rejectLaunch()
{
    const quint64 runId = m_runId;
    const ProgramOutcome outcome{.kind = ProgramOutcomeKind::FailedToStart,
                                 .exitCode = -1,
                                 .message = u"Invalid TARN launch configuration"_s};
    emitInTurn([&] { setState(stateAfter(outcome.kind)); },
               [&] { Q_EMIT runCompleted(runId, outcome); }, [&] { Q_EMIT completed(outcome); });
}

std::shared_ptr<ProgramRun> ProgramSession::replaceRun(const ProgramLaunch &launch)
{
    if (m_run)
        m_run->abandon();
    const auto writeInput = [this](QProcess &process, const QByteArray &bytes) {
        return writeInputBytes(process, bytes);
    };
    m_run = std::make_shared<ProgramRun>(m_runId, launch, writeInput, this);
    forwardReports(*m_run);
    return m_run;
}

void ProgramSession::forwardReports(const ProgramRun &run)
{
    // Not ours: a listener may have asked for the next run before the report is over.
    const quint64 runId = run.id();
    connect(&run, &ProgramRun::started, this, [this] { setState(ProgramSessionState::Running); });
    connect(&run, &ProgramRun::stopping, this, [this] { setState(ProgramSessionState::Stopping); });
    connect(&run, &ProgramRun::outputRead, this,
            [this, &run](TranscriptStream stream, const QByteArray &bytes) {
                reportOutput(run, stream, bytes);
            });
    connect(&run, &ProgramRun::inputAccepted, this, [this, runId](const QByteArray &line) {
        emitInTurn([&] { Q_EMIT inputAccepted(runId, line); });
    });
    connect(&run, &ProgramRun::inputStateChanged, this,
            [this, runId] { emitInTurn([&] { Q_EMIT inputStateChanged(runId); }); });
    connect(&run, &ProgramRun::unkillable, this,
            [this, runId] { emitInTurn([&] { Q_EMIT runUnkillable(runId); }); });
    connect(&run, &ProgramRun::ended, this,
            [this, runId](const ProgramOutcome &outcome) { reportEnd(runId, outcome); });
}

void ProgramSession::reportOutput(const ProgramRun &run, TranscriptStream stream,
                                  const QByteArray &bytes)
{
    // The run is completed, too, when a listener has destroyed us.
    for (qsizetype start = 0; start < bytes.size() && !run.isCompleted();
         start += maximumOutputSliceBytes) {
        const QByteArray slice = bytes.mid(start, maximumOutputSliceBytes);
        emitInTurn([&] { Q_EMIT runOutputAvailable(run.id(), stream, slice); },
                   [&] { Q_EMIT outputAvailable(stream, slice); });
    }
}

void ProgramSession::reportEnd(quint64 runId, const ProgramOutcome &outcome)
{
    // From the new state on a listener may start the next run; this one still gets its outcome.
    emitInTurn([&] { setState(stateAfter(outcome.kind)); },
               [&] { Q_EMIT inputStateChanged(runId); },
               [&] { Q_EMIT runCompleted(runId, outcome); }, [&] { Q_EMIT completed(outcome); });
}

void ProgramSession::stop()
{
    if (isActive())
        m_run->stop();
}

InputSendResult ProgramSession::validateInputLine(const QByteArray &line)
{
    if (line.contains('\r') || line.contains('\n'))
        return InputSendResult::NotOneLine;
    return line.size() > maximumInputLineBytes ? InputSendResult::TooLong : InputSendResult::Sent;
}

InputSendResult ProgramSession::sendInput(const QByteArray &line)
{
    if (const auto validity = validateInputLine(line); validity != InputSendResult::Sent)
        return validity;
    if (!m_run)
        return InputSendResult::NotRunning;
    if (m_run->inputClosed())
        return InputSendResult::InputClosed;
    if (m_state != ProgramSessionState::Running)
        return InputSendResult::NotRunning;
    if (m_run->inputPending())
        return InputSendResult::Pending;
    return m_run->sendInput(line);
}

bool ProgramSession::closeInput()
{
    if (!inputOpen())
        return false;
    m_run->closeInput();
    return true;
}

bool ProgramSession::isUnkillable() const
{
    return m_run && m_run->isUnkillable();
}

bool ProgramSession::inputOpen() const
{
    return m_state == ProgramSessionState::Running && !m_run->inputClosed();
}

bool ProgramSession::inputPending() const
{
    return m_run && m_run->inputPending();
}

qint64 ProgramSession::writeInputBytes(QProcess &process, const QByteArray &bytes)
{
    return process.write(bytes);
}

} // namespace tarn::console
