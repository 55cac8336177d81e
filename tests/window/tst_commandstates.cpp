#include "session/slowpipesession.h"
#include "support/patience.h"
#include "support/sourcefile.h"
#include "support/testregistry.h"
#include "transcript/transcript.h"
#include "widgets/clipboardoffer.h"
#include "widgets/inputeditor.h"
#include "window/commandstates.h"
#include "window/consoleui.h"
#include "window/inputcontroller.h"
#include "window/preferences.h"
#include "window/sourcechoice.h"
#include "window/statuslabel.h"

#include <QAction>
#include <QMainWindow>
#include <QTest>

#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// What the states look at, unconnected: nothing is updated unless the test says so.
struct Parts
{
    ~Parts() { delete window.takeCentralWidget(); }

    bool run(const QByteArray &script)
    {
        file = std::make_unique<SourceFile>(script);
        session.start({scriptedChild(), file->path(), u"en"_s});
        return QTest::qWaitFor([this] { return session.inputOpen(); }, patience);
    }
    bool isEnabled(Command command) const { return ui.commands.action(command)->isEnabled(); }
    /// Of the commands of a run and its input, and the draft.
    QString enabled() const
    {
        QStringList names;
        for (const auto &[command, name] : {std::pair{Command::Open, u"open"_s},
                                            {Command::Run, u"run"_s},
                                            {Command::Stop, u"stop"_s},
                                            {Command::Send, u"send"_s},
                                            {Command::CloseInput, u"close"_s}}) {
            if (isEnabled(command))
                names.append(name);
        }
        if (input.isDraftEnabled())
            names.append(u"draft"_s);
        return names.join(u' ');
    }

    std::unique_ptr<SourceFile> file;
    Transcript transcript{TranscriptLimits{}};
    SlowPipeSession session;
    Preferences preferences;
    QMainWindow window;
    ConsoleUi ui{&window, &transcript};
    SourceChoice source{&preferences, {}, ui.layout.sourcePath, &window};
    InputController input{&session, ui.layout.draft, ui.layout.inputStatus, &ui.focusKeeper,
                          &ui.answerFocus};
    ClipboardOffer clipboard;
    CommandStates states{{&session, &source, &preferences, &clipboard, &input, &ui.commands}};
};

} // namespace

/// The rules of what is enabled, without the window that calls for them.
class TestCommandStates : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rulesOfARun();
    void lineInFlight();
    void inputAloneLeavesTheRunAlone();
    void zoomCommandsFollowTheZoom();
    void signalsWithoutAChangeUpdateNothing();
};

void TestCommandStates::rulesOfARun()
{
    Parts parts;
    parts.states.updateRun();
    QCOMPARE(parts.enabled(), u"open"_s);
    parts.source.select(u"/a.tarn"_s);
    parts.states.updateRun();
    QCOMPARE(parts.enabled(), u"open run"_s);

    QVERIFY(parts.run("read-all"));
    parts.states.updateRun();
    QCOMPARE(parts.enabled(), u"stop send close draft"_s);
    QVERIFY(parts.isEnabled(Command::FocusDraft));
    QVERIFY(parts.session.closeInput());
    parts.states.updateRun();
    QCOMPARE(parts.enabled(), u"stop"_s);
    QVERIFY(!parts.isEnabled(Command::FocusDraft));
    QTRY_VERIFY(!parts.session.isActive());
    parts.states.updateRun();
    QCOMPARE(parts.enabled(), u"open run"_s);
}

void TestCommandStates::lineInFlight()
{
    Parts parts;
    QVERIFY(parts.run("read-all"));
    parts.session.takeAtMost(0);
    QCOMPARE(parts.session.sendInput("line"), InputSendResult::Pending);
    parts.states.updateRun();
    QCOMPARE(parts.enabled(), u"stop close"_s);
}

void TestCommandStates::inputAloneLeavesTheRunAlone()
{
    Parts parts;
    parts.states.updateRun();
    QVERIFY(parts.run("read-all"));
    parts.states.updateInput();
    QCOMPARE(parts.enabled(), u"open send close draft"_s);
}

void TestCommandStates::zoomCommandsFollowTheZoom()
{
    Parts parts;
    const auto enabled = [&] {
        parts.states.updateEdit();
        return QList{parts.isEnabled(Command::ZoomIn), parts.isEnabled(Command::ZoomOut),
                     parts.isEnabled(Command::ActualSize)};
    };
    QCOMPARE(enabled(), QList({true, true, false}));
    parts.preferences.zoom.changeBy(100);
    QCOMPARE(enabled(), QList({false, true, true}));
    parts.preferences.zoom.changeBy(-150);
    QCOMPARE(enabled(), QList({true, false, true}));
}

void TestCommandStates::signalsWithoutAChangeUpdateNothing()
{
    Parts parts;
    parts.states.updateRun();
    // Something that every update sets right.
    QAction *find = parts.ui.commands.action(Command::Find);
    find->setEnabled(false);
    parts.states.followRun();
    QVERIFY(!find->isEnabled());

    QVERIFY(parts.run("wait-forever"));
    parts.states.followRun();
    QCOMPARE(parts.enabled(), u"stop send close draft"_s);
    QVERIFY(find->isEnabled());
    find->setEnabled(false);
    parts.states.followRun();
    QVERIFY(!find->isEnabled());
    parts.states.updateRun();
    QVERIFY(find->isEnabled());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestCommandStates))
#include "tst_commandstates.moc"
