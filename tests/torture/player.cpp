// Preloaded into the console, it plays a user: it changes the language, runs a program that answers
// a line and ends, then one that refuses to end and has a child, stops it, and closes the window.
// Whatever goes wrong on the way, it goes on with the next part; it judges nothing, but writes what
// it sees to the file TARN_TORTURE_REPORT, a "name: value" per line.

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QMainWindow>
#include <QMessageBox>
#include <QMetaMethod>
#include <QPushButton>
#include <QTextEdit>
#include <QTimer>

#include <coroutine>
#include <cstdlib>
#include <exception>
#include <functional>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

extern "C" void tarn_torture_phase(int number);
extern "C" void tarn_torture_pause(int change);

/// Qt's own door for tools that watch signals; its header is private.
struct QSignalSpyCallbackSet
{
    using Begin = void (*)(QObject *caller, int index, void **arguments);
    using End = void (*)(QObject *caller, int index);
    Begin beginSignal;
    Begin beginSlot;
    End endSignal;
    End endSlot;
};
extern Q_CORE_EXPORT void qt_register_signal_spy_callbacks(QSignalSpyCallbackSet *callbacks);

namespace {

/// In milliseconds: what takes longer is taken for what never comes.
constexpr qint64 patience = 4000;
constexpr qint64 stopPatience = 15000;
constexpr int interval = 5;

struct OffStage
{
    OffStage() { tarn_torture_pause(1); }
    ~OffStage() { tarn_torture_pause(-1); }
    Q_DISABLE_COPY_MOVE(OffStage)
};

/// A part of the play that waits without holding up the console's own event loop.
struct Part
{
    struct promise_type
    {
        Part get_return_object() { return {}; }
        std::suspend_never initial_suspend() { return {}; }
        std::suspend_never final_suspend() noexcept { return {}; }
        void return_void() {}
        void unhandled_exception() { std::terminate(); }
    };
};

/// Whether the condition came true in time.
class Until
{
public:
    explicit Until(std::function<bool()> condition, qint64 limit = patience)
        : m_condition(std::move(condition))
        , m_limit(limit)
    {
    }

    bool await_ready() const { return false; }

    void await_suspend(std::coroutine_handle<> waiting)
    {
        m_elapsed.start();
        m_timer.setInterval(interval);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this, waiting] {
            m_met = m_condition();
            if (!m_met && m_elapsed.elapsed() < m_limit)
                return;
            m_timer.stop();
            // The timer goes with what waits, and may not go in its own signal.
            QTimer::singleShot(0, qApp, [waiting] { waiting.resume(); });
        });
        m_timer.start();
    }

    bool await_resume() const { return m_met; }

private:
    std::function<bool()> m_condition;
    qint64 m_limit;
    bool m_met = false;
    QElapsedTimer m_elapsed;
    QTimer m_timer;
};

void append(const char *path, const QByteArray &bytes, int flags)
{
    const OffStage offStage;
    const int file = ::open(path, O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0600);
    [[maybe_unused]] const auto written =
        ::write(file, bytes.constData(), static_cast<std::size_t>(bytes.size()));
    ::close(file);
}

QByteArray reportPath;
QByteArray sourcePath;

void note(const char *name, const QString &value)
{
    QString line = value;
    line.replace(u'\\', u"\\\\"_s).replace(u'\n', u"\\n"_s);
    append(reportPath.constData(), QByteArray(name) + ": " + line.toUtf8() + '\n', O_APPEND);
}

void note(const char *name, qint64 value)
{
    note(name, QString::number(value));
}

QMainWindow *window()
{
    const QWidgetList widgets = QApplication::topLevelWidgets();
    for (QWidget *widget : widgets) {
        if (auto *found = qobject_cast<QMainWindow *>(widget); found && found->isVisible())
            return found;
    }
    return nullptr;
}

template<typename Object>
Object *part(const char *name)
{
    return window()->findChild<Object *>(QLatin1StringView(name));
}

void trigger(const char *action)
{
    part<QAction>(action)->trigger();
}

QString transcript()
{
    return part<QTextEdit>("transcript")->toPlainText();
}

QString status(const char *label)
{
    return part<QLabel>(label)->text();
}

bool isIdle()
{
    return part<QAction>("runAction")->isEnabled();
}

/// How often the session has reported an outcome, and the window has shown one.
int outcomesReported = 0;
int outcomesShown = 0;

void countOutcome(QObject *sender, int signal, void **)
{
    const QMetaObject *type = sender->metaObject();
    const char *session = "tarn::console::ProgramSession";
    const char *run = "tarn::console::RunController";
    if (qstrcmp(type->className(), session) != 0 && qstrcmp(type->className(), run) != 0)
        return;
    // It is counted among the signals alone.
    const QByteArray name = [type, signal] {
        int signals = 0;
        for (int i = 0; i < type->methodCount(); ++i) {
            if (type->method(i).methodType() == QMetaMethod::Signal && signals++ == signal)
                return type->method(i).name();
        }
        return QByteArray();
    }();
    outcomesReported += name == "runCompleted";
    outcomesShown += qstrcmp(type->className(), run) == 0 && name == "completed";
}

/// What the transcript has got since the last call.
QString news()
{
    static qsizetype known = 0;
    const QString text = transcript();
    return text.sliced(std::exchange(known, text.size()));
}

Until shown(const QString &text, qsizetype from)
{
    return Until([text, from] { return isIdle() || transcript().indexOf(text, from) >= 0; });
}

Until ended(qint64 limit)
{
    return Until(isIdle, limit);
}

void send(const QString &line)
{
    part<QTextEdit>("inputDraft")->setPlainText(line);
    trigger("sendAction");
    note("sent", status("inputStatus"));
}

/// What a run has come to, and how it is shown.
void noteEnd(const char *name)
{
    note("outcomes", u"%1 %2"_s.arg(outcomesReported).arg(outcomesShown));
    note(name, news());
    note("status", status("runStatus"));
    note("input-status", status("inputStatus"));
    note("idle", isIdle() ? 1 : 0);
}

void closeWindow()
{
    auto *answer = new QTimer(qApp);
    QObject::connect(answer, &QTimer::timeout, answer, [] {
        auto *question = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!question)
            return;
        note("question", question->text());
        const auto buttons = question->buttons();
        for (QAbstractButton *button : buttons) {
            if (question->buttonRole(button) == QMessageBox::DestructiveRole)
                button->click();
        }
    });
    answer->start(interval);
    trigger("quitAction");
}

// GCC's own code of a coroutine has such zeros.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wzero-as-null-pointer-constant"
Part play()
{
    co_await Until([] { return window() != nullptr; });
    if (!window()) {
        note("no-window", 1);
        co_return;
    }
    note("title", window()->windowTitle());
    trigger("englishLanguageAction");
    note("title", window()->windowTitle());

    tarn_torture_phase(2);
    append(sourcePath.constData(), "error problem\\n\nprint ready\\n\nread-line\nexit 3\n",
           O_TRUNC);
    news();
    qsizetype from = transcript().size();
    trigger("runAction");
    co_await shown(u"ready"_s, from);
    send(u"hello"_s);
    if (!co_await ended(patience)) {
        note("had-to-stop", 1);
        trigger("stopAction");
        co_await ended(stopPatience);
    }
    noteEnd("first");

    tarn_torture_phase(3);
    append(sourcePath.constData(),
           "ignore-term\nprint ready\\n\nread-line\nerror problem\\n\n"
           "fork-grandchild ignore-term\nwait-forever\n",
           O_TRUNC);
    from = transcript().size();
    trigger("runAction");
    co_await shown(u"ready"_s, from);
    send(u"hello"_s);
    co_await shown(u"grandchild:"_s, from);

    tarn_torture_phase(4);
    QElapsedTimer sinceStop;
    sinceStop.start();
    if (!isIdle())
        trigger("stopAction");
    co_await ended(stopPatience);
    note("stop-milliseconds", sinceStop.elapsed());
    noteEnd("second");

    tarn_torture_phase(5);
    trigger("arabicLanguageAction");
    note("title", window()->windowTitle());
    note("late-outcomes", u"%1 %2"_s.arg(outcomesReported).arg(outcomesShown));
    note("closing", 1);
    closeWindow();
}
#pragma GCC diagnostic pop

void start()
{
    reportPath = qgetenv("TARN_TORTURE_REPORT");
    sourcePath = qgetenv("TARN_TORTURE_SOURCE");
    static QSignalSpyCallbackSet callbacks{countOutcome, nullptr, nullptr, nullptr};
    qt_register_signal_spy_callbacks(&callbacks);
    tarn_torture_phase(1);
    QTimer::singleShot(0, qApp, [] { play(); });
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(start)
