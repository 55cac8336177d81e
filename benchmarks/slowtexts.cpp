// Texts that take long to shape, as only a hostile or broken program prints them: for how long the
// window does nothing else, whatever its user does. One line of each that is as long as a line can
// be, several times, and before that a screen of short ones, which is the first that the process
// sees of the text's fonts.

#include "slowtexts.h"
#include "subjects.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScrollBar>
#include <QTextCursor>
#include <QThread>

#include <array>
#include <functional>

using namespace tarn::benchmark;

namespace {

constexpr Milliseconds bar{100};

/// The longest of the turns in which all is done that there is to do, idle work included.
Milliseconds longestTurn()
{
    constexpr Milliseconds idle{0.3}; ///< a timer that finds nothing to do
    constexpr qint64 quiet = 150;
    constexpr qint64 endless = 30'000;
    QAbstractEventDispatcher *dispatcher = QAbstractEventDispatcher::instance();
    Milliseconds longest{};
    QElapsedTimer sinceStart;
    QElapsedTimer sinceWork;
    sinceStart.start();
    sinceWork.start();
    while (sinceWork.elapsed() < quiet && sinceStart.elapsed() < endless) {
        const Milliseconds turn = processorTimeOf([&] {
            QCoreApplication::sendPostedEvents();
            dispatcher->processEvents(QEventLoop::AllEvents);
        });
        longest = std::max(longest, turn);
        if (turn > idle)
            sinceWork.restart();
        else
            QThread::msleep(1);
    }
    return longest;
}

/// What a user does with a view, and the longest turn that comes of it.
class User
{
public:
    explicit User(TranscriptSubject *subject)
        : m_subject(subject)
    {
    }

    Milliseconds does(const std::function<void()> &action)
    {
        const Milliseconds own = processorTimeOf(action);
        return std::max(own, longestTurn());
    }

    Milliseconds sees(const QByteArray &output)
    {
        return does([&] { m_subject->take(output); });
    }

    Milliseconds scrolls()
    {
        QScrollBar *bar = m_subject->view->verticalScrollBar();
        Milliseconds longest{};
        for (const double part : {0.9, 0.5, 0.0, 1.0}) {
            longest = std::max(
                longest, does([&] { bar->setValue(static_cast<int>(part * bar->maximum())); }));
        }
        for (int page = 0; page < 2; ++page) {
            longest =
                std::max(longest, does([&] { bar->triggerAction(QScrollBar::SliderPageStepSub); }));
        }
        return longest;
    }

    Milliseconds resizes()
    {
        const Milliseconds narrower =
            does([&] { m_subject->view->resize(viewSize - QSize(200, 0)); });
        return std::max(narrower, does([&] { m_subject->view->resize(viewSize); }));
    }

    Milliseconds clicks()
    {
        Milliseconds longest{};
        for (const double part : {0.1, 0.5, 0.95}) {
            longest = std::max(longest, does([&] {
                                   mouse(QEvent::MouseButtonPress, part);
                                   mouse(QEvent::MouseButtonRelease, part);
                               }));
        }
        longest = std::max(longest, does([&] { mouse(QEvent::MouseButtonDblClick, 0.4); }));
        return std::max(longest, does([&] { mouse(QEvent::MouseButtonRelease, 0.4); }));
    }

    Milliseconds drags()
    {
        // What is selected would be dragged away.
        QTextCursor cursor = m_subject->view->textCursor();
        cursor.clearSelection();
        m_subject->view->setTextCursor(cursor);
        longestTurn();
        Milliseconds longest = does([&] { mouse(QEvent::MouseButtonPress, 0.2); });
        for (const double part : {0.3, 0.6, 0.9}) {
            longest =
                std::max(longest, does([&] { mouse(QEvent::MouseMove, part, Qt::LeftButton); }));
        }
        return std::max(longest, does([&] { mouse(QEvent::MouseButtonRelease, 0.9); }));
    }

    Milliseconds movesCaret()
    {
        Milliseconds longest{};
        for (const int key : {Qt::Key_Right, Qt::Key_Left, Qt::Key_Up, Qt::Key_Down, Qt::Key_Home,
                              Qt::Key_End, Qt::Key_PageUp, Qt::Key_PageDown}) {
            for (const auto modifiers : {Qt::NoModifier, Qt::ShiftModifier}) {
                longest = std::max(longest, does([&] {
                                       QKeyEvent press(QEvent::KeyPress, key, modifiers);
                                       QCoreApplication::sendEvent(m_subject->view, &press);
                                   }));
            }
        }
        return longest;
    }

private:
    /// At the same part of the height and of the width.
    void mouse(QEvent::Type type, double part, Qt::MouseButtons held = Qt::NoButton)
    {
        QWidget *viewport = m_subject->view->viewport();
        const QPointF point(part * viewport->width(), part * viewport->height());
        const bool isMove = type == QEvent::MouseMove;
        const bool isRelease = type == QEvent::MouseButtonRelease;
        QMouseEvent event(type, point, viewport->mapToGlobal(point),
                          isMove ? Qt::NoButton : Qt::LeftButton,
                          isMove || isRelease ? held : Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(viewport, &event);
    }

    TranscriptSubject *m_subject;
};

constexpr std::array columns = {"screen", "line", "scroll", "resize", "click", "drag", "caret"};

QByteArray screenOf(const SlowText &text)
{
    constexpr int lines = 40;
    constexpr qsizetype characters = 100;
    const QString long_ = text.line(consoleLimits.maxParagraphBytes);
    QByteArray screen;
    for (int number = 0; number < lines; ++number) {
        screen += QStringView(long_).mid(number * characters, characters).toUtf8();
        screen += '\n';
    }
    return screen;
}

/// In a process of its own: prints the columns.
int measure(const SlowText &text)
{
    constexpr int lines = 4;
    const QByteArray line = text.line(consoleLimits.maxParagraphBytes).toUtf8() + '\n';
    TranscriptSubject subject;
    User user(&subject);
    std::vector<Milliseconds> longest = {user.sees(screenOf(text)), Milliseconds{}};
    for (int number = 0; number < lines; ++number)
        longest[1] = std::max(longest[1], user.sees(line));
    longest.push_back(user.scrolls());
    longest.push_back(user.resizes());
    longest.push_back(user.clicks());
    longest.push_back(user.drags());
    longest.push_back(user.movesCaret());
    for (const Milliseconds turn : longest)
        std::printf("%.2f ", turn.count());
    return 0;
}

void report(Report &report, const SlowText &text, const std::vector<double> &turns)
{
    const auto worst = std::max_element(turns.begin(), turns.end());
    std::printf("   ");
    for (std::size_t i = 0; i < columns.size(); ++i)
        std::printf(" %s %.0f", columns[i], turns[i]);
    std::printf("\n");
    report.limit(QString::fromLatin1(text.name), *worst, bar.count());
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const std::vector<SlowText> texts = slowTexts();
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 3 && arguments[1] == u"--text"_s)
        return measure(texts.at(static_cast<std::size_t>(arguments[2].toInt())));

    const Options options =
        parseOptions(u"Measures how long slow texts keep the window busy."_s, 1);
    Report all(u"slowtexts: longest turn of the event loop"_s);
    for (std::size_t i = 0; i < texts.size(); ++i)
        report(all, texts[i], runAgain({u"--text"_s, QString::number(i)}));
    return all.finish(options.jsonFile);
}
