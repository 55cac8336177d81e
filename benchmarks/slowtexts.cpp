// Lines of 64 KiB of texts that take long to shape, as only a hostile or broken program prints
// them: for how long the window does nothing else.

#include "subjects.h"

#include <QApplication>

#include <array>

using namespace tarn::benchmark;

namespace {

struct Text
{
    const char *name;
    QString pattern;
};

const std::array texts{
    Text{"one letter", u"x"_s},
    Text{"one Arabic letter", u"ب"_s},
    Text{"words of both directions", u"word كلمة "_s},
    Text{"letters of both directions", u"aب"_s},
    Text{"tabs", u"\t"_s},
    Text{"line separators", u"\u2028"_s},
    Text{"joiners", u"\u200D"_s},
    Text{"combining marks", u"\u0301"_s},
    Text{"stacked letters", u"\u1780\u17D2"_s},
    Text{"ideographs", u"中"_s},
    Text{"initial jamo", u"\u1100"_s},
    Text{"joined emoji", u"\U0001F468\u200D"_s},
    Text{"object replacements", u"\uFFFC"_s},
    Text{"letters of no font", u"\U00011330"_s},
};

/// The longest of the turns in which all is done that there is to do.
Milliseconds longestTurn()
{
    QAbstractEventDispatcher *dispatcher = QAbstractEventDispatcher::instance();
    Milliseconds longest{};
    bool more = true;
    while (more) {
        longest = std::max(longest, timeOf([&] {
                               QCoreApplication::sendPostedEvents();
                               more = dispatcher->processEvents(QEventLoop::AllEvents);
                           }));
    }
    return longest;
}

void measure(Report &report, const Text &text)
{
    constexpr int lines = 8;
    const QByteArray pattern = text.pattern.toUtf8();
    const QByteArray line =
        pattern.repeated(consoleLimits.maxParagraphBytes / pattern.size()) + '\n';
    TranscriptSubject subject;
    // The first sight of a script opens its fonts.
    subject.take(QByteArray(pattern + '\n'));
    drainEvents();
    Milliseconds append{};
    for (int number = 0; number < lines; ++number) {
        append = std::max(append, timeOf([&] { subject.take(line); }));
        append = std::max(append, longestTurn());
    }
    const Milliseconds resize = timeOf([&] { subject.view->resize(viewSize - QSize(200, 0)); });
    const Milliseconds after = longestTurn();
    const QString name = QString::fromLatin1(text.name);
    report.note(name + u": a line more"_s, append.count());
    report.note(name + u": another width"_s, std::max(resize, after).count());
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const Options options =
        parseOptions(u"Measures how long lines of 64 KiB keep the window busy."_s, 1);
    Report report(u"slowtexts: longest turn of the event loop"_s);
    for (const Text &text : texts)
        measure(report, text);
    return report.finish(options.jsonFile);
}
