#pragma once

#include "session/programsession.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <array>

namespace tarn::console {

inline QString nameOf(ProgramSessionState state)
{
    constexpr std::array names{"Idle", "Starting", "Running", "Stopping", "Finished", "Failed"};
    return QString::fromLatin1(names.at(static_cast<std::size_t>(state)));
}

inline QString nameOf(ProgramOutcomeKind kind)
{
    constexpr std::array names{"Exited", "Crashed", "FailedToStart", "ProcessError", "Stopped"};
    return QString::fromLatin1(names.at(static_cast<std::size_t>(kind)));
}

inline QString nameOf(TranscriptStream stream)
{
    return stream == TranscriptStream::StandardOutput ? QStringLiteral("out")
                                                      : QStringLiteral("err");
}

/// Records every signal of a session, in order, as text: the signal's name, the run identifier if
/// it is tagged, and the arguments. Of long bytes only their number is kept.
///
///     runStateChanged 1 Starting        stateChanged Starting
///     runOutputAvailable 1 out ready    outputAvailable err 65536 bytes
///     inputAccepted 1 line              inputStateChanged 1
///     runCompleted 1 Exited 0           completed FailedToStart -1 (message)
class SignalRecorder : public QObject
{
public:
    explicit SignalRecorder(ProgramSession *session)
    {
        recordTagged(session);
        recordUntagged(session);
    }

    const QStringList &events() const { return m_events; }
    void clearEvents() { m_events.clear(); }
    /// The recorded signals of that name.
    QStringList eventsNamed(const QString &name) const
    {
        QStringList found;
        for (const QString &event : m_events) {
            if (event.section(u' ', 0, 0) == name)
                found.append(event);
        }
        return found;
    }

    /// Everything a run wrote, as the tagged signals brought it.
    QByteArray output(quint64 runId = 1) const { return m_output.value(runId); }
    QByteArray errorOutput(quint64 runId = 1) const { return m_errorOutput.value(runId); }
    /// The outcomes that the tagged signal reported for a run.
    QList<ProgramOutcome> outcomes(quint64 runId = 1) const { return m_outcomes.value(runId); }

private:
    static QString textOf(const QByteArray &bytes)
    {
        constexpr qsizetype longestText = 60;
        if (bytes.size() > longestText)
            return QStringLiteral("%1 bytes").arg(bytes.size());
        return QString::fromLatin1(bytes.trimmed());
    }

    static QString textOf(const ProgramOutcome &outcome)
    {
        const QString text =
            QStringLiteral("%1 %2").arg(nameOf(outcome.kind)).arg(outcome.exitCode);
        return outcome.message.isEmpty() ? text
                                         : QStringLiteral("%1 (%2)").arg(text, outcome.message);
    }

    template<typename... Arguments>
    void record(const char *signal, const Arguments &...arguments)
    {
        m_events.append(QStringList{QString::fromLatin1(signal), arguments...}.join(u' '));
    }

    void recordTagged(ProgramSession *session)
    {
        connect(session, &ProgramSession::runStateChanged, this, [this](quint64 id, auto state) {
            record("runStateChanged", QString::number(id), nameOf(state));
        });
        connect(session, &ProgramSession::runOutputAvailable, this,
                [this](quint64 id, TranscriptStream stream, const QByteArray &bytes) {
                    (stream == TranscriptStream::StandardOutput ? m_output : m_errorOutput)[id] +=
                        bytes;
                    record("runOutputAvailable", QString::number(id), nameOf(stream),
                           textOf(bytes));
                });
        connect(session, &ProgramSession::inputAccepted, this,
                [this](quint64 id, const QByteArray &line) {
                    record("inputAccepted", QString::number(id), textOf(line));
                });
        connect(session, &ProgramSession::inputStateChanged, this,
                [this](quint64 id) { record("inputStateChanged", QString::number(id)); });
        connect(session, &ProgramSession::runCompleted, this,
                [this](quint64 id, const ProgramOutcome &outcome) {
                    m_outcomes[id].append(outcome);
                    record("runCompleted", QString::number(id), textOf(outcome));
                });
    }

    void recordUntagged(ProgramSession *session)
    {
        connect(session, &ProgramSession::stateChanged, this,
                [this](auto state) { record("stateChanged", nameOf(state)); });
        connect(session, &ProgramSession::outputAvailable, this,
                [this](TranscriptStream stream, const QByteArray &bytes) {
                    record("outputAvailable", nameOf(stream), textOf(bytes));
                });
        connect(session, &ProgramSession::completed, this,
                [this](const ProgramOutcome &outcome) { record("completed", textOf(outcome)); });
    }

    QStringList m_events;
    QHash<quint64, QByteArray> m_output;
    QHash<quint64, QByteArray> m_errorOutput;
    QHash<quint64, QList<ProgramOutcome>> m_outcomes;
};

/// The recorded events in which the twins do not match, empty when all is well: every run-tagged
/// signal is followed at once by its untagged twin, except for whole pairs that a listener caused
/// in between.
inline QStringList unpairedEvents(const QStringList &events)
{
    QStringList awaited;
    for (const QString &event : events) {
        const QString name = event.section(u' ', 0, 0);
        if (name.startsWith(u"inputAccepted") || name.startsWith(u"inputStateChanged"))
            continue;
        const QString arguments = event.section(u' ', 1);
        if (name.startsWith(u"run")) {
            QString twin = name.mid(3);
            twin[0] = twin.at(0).toLower();
            awaited.append(QStringLiteral("%1 %2").arg(twin, arguments.section(u' ', 1)));
        } else if (!awaited.isEmpty() && awaited.last() == event) {
            awaited.removeLast();
        } else {
            return {event};
        }
    }
    return awaited;
}

} // namespace tarn::console
