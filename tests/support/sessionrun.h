#pragma once

#include "session/programsession.h"
#include "support/patience.h"
#include "support/signalrecorder.h"
#include "support/sourcefile.h"

#include <QByteArray>
#include <QList>
#include <QProcess>
#include <QTest>

namespace tarn::console {

/// A session, a script for the scripted child, and a record of what the session reports.
template<typename Session = ProgramSession>
struct SessionRun
{
    explicit SessionRun(const QByteArray &script)
        : source(script)
    {
    }

    ProgramLaunch launch() const { return {scriptedChild(), source.path(), QStringLiteral("en")}; }
    bool start() { return session.start(launch()); }
    /// Starts a run and waits until the script has carried out "ready".
    bool startUntilReady() { return start() && waitForOutput("ready\n"); }
    /// Starts a run and waits for its end.
    bool runToEnd() { return start() && waitForOutcome(); }

    bool waitForOutput(const QByteArray &text) const
    {
        return QTest::qWaitFor([&] { return output().contains(text); }, patience);
    }
    /// Waits until the latest run has ended and reported that.
    bool waitForOutcome() const
    {
        return QTest::qWaitFor([this] { return !session.isActive() && !outcomes().isEmpty(); },
                               patience);
    }

    /// What the latest run has written to its standard output so far.
    QByteArray output() const { return recorder.output(session.runId()); }
    /// The outcomes of the latest run: one when it has ended.
    QList<ProgramOutcome> outcomes() const { return recorder.outcomes(session.runId()); }
    /// How the latest run ended.
    ProgramOutcome outcome() const { return outcomes().value(0); }

    /// The values of the reports "name:value" that the latest run has written.
    QList<QByteArray> reports(const QByteArray &name) const
    {
        const QByteArray prefix = name + ':';
        QList<QByteArray> values;
        const QList<QByteArray> lines = output().split('\n');
        for (const QByteArray &line : lines) {
            if (line.startsWith(prefix))
                values.append(line.mid(prefix.size()));
        }
        return values;
    }
    QByteArray report(const QByteArray &name) const { return reports(name).value(0); }

    /// The process object of the latest run; it is deleted soon after the run has ended.
    QProcess *process() const
    {
        const QList<QProcess *> processes = session.template findChildren<QProcess *>();
        return processes.isEmpty() ? nullptr : processes.last();
    }

    SourceFile source;
    Session session;
    SignalRecorder recorder{&session};
};

} // namespace tarn::console
