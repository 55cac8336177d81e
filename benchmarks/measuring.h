#pragma once

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QString>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <utility>
#include <vector>

/// What the benchmarks share: medians, figures beside their bars, and how these are written down.
namespace tarn::benchmark {

using namespace Qt::StringLiterals;

using Milliseconds = std::chrono::duration<double, std::milli>;

template<typename Work>
Milliseconds timeOf(Work work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::steady_clock::now() - start;
}

/// What this process has computed so far, in all its threads.
inline Milliseconds processorTime()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// Without what others do meanwhile on a busy machine.
template<typename Work>
Milliseconds processorTimeOf(Work work)
{
    const Milliseconds start = processorTime();
    work();
    return processorTime() - start;
}

template<typename Value>
Value median(std::vector<Value> values)
{
    const auto middle = values.begin() + std::ptrdiff_t(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Runs the two in turns, so that a busy machine slows both, and returns the results of each.
template<typename First, typename Second>
auto alternate(int repetitions, First first, Second second)
{
    std::pair<std::vector<decltype(first())>, std::vector<decltype(second())>> results;
    for (int i = 0; i < repetitions; ++i) {
        results.first.push_back(first());
        results.second.push_back(second());
    }
    return results;
}

/// Runs this program again, in a process that no earlier measurement has left its mark on, and
/// returns the numbers that it prints.
inline std::vector<double> runAgain(const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QCoreApplication::applicationFilePath(), arguments);
    if (!process.waitForFinished(-1) || process.exitCode() != 0)
        qFatal("the measured process failed");
    std::vector<double> numbers;
    for (const QByteArray &word : process.readAll().simplified().split(' '))
        numbers.push_back(word.toDouble());
    return numbers;
}

/// The figures of one benchmark program. Each is printed as soon as it is known.
class Report
{
public:
    explicit Report(const QString &name)
        : m_name(name)
    {
        std::printf("%-72s %10s %10s %7s %6s\n", qPrintable(name), "ours", "reference", "ratio",
                    "bar");
    }

    /// A figure that may be at most so many times its reference.
    void compare(const QString &name, double value, double reference, double bar,
                 const QString &unit = u"ms"_s)
    {
        const double ratio = value / reference;
        const bool met = ratio <= bar;
        std::printf("%-72s %10.2f %10.2f %7.2f %6.2f  %s\n", qPrintable(label(name, unit)), value,
                    reference, ratio, bar, verdict(met));
        add({{u"name"_s, name},
             {u"unit"_s, unit},
             {u"value"_s, value},
             {u"reference"_s, reference},
             {u"ratio"_s, ratio},
             {u"bar"_s, bar},
             {u"met"_s, met}});
    }
    void compare(const QString &name, Milliseconds value, Milliseconds reference, double bar)
    {
        compare(name, value.count(), reference.count(), bar);
    }

    /// A figure with a bar of its own.
    void limit(const QString &name, double value, double bar, const QString &unit = u"ms"_s)
    {
        const bool met = value <= bar;
        std::printf("%-72s %10.2f %10s %7s %6.0f  %s\n", qPrintable(label(name, unit)), value, "",
                    "", bar, verdict(met));
        add({{u"name"_s, name},
             {u"unit"_s, unit},
             {u"value"_s, value},
             {u"bar"_s, bar},
             {u"met"_s, met}});
    }

    /// Something that has to hold.
    void check(const QString &name, bool met)
    {
        std::printf("%-72s %10s %10s %7s %6s  %s\n", qPrintable(name), met ? "yes" : "no", "", "",
                    "yes", verdict(met));
        add({{u"name"_s, name}, {u"met"_s, met}});
    }

    /// A figure without a bar.
    void note(const QString &name, double value, const QString &unit = u"ms"_s)
    {
        std::printf("%-72s %10.2f\n", qPrintable(label(name, unit)), value);
        add({{u"name"_s, name}, {u"unit"_s, unit}, {u"value"_s, value}});
    }

    /// One point of a curve.
    void point(const QString &series, double x, Milliseconds value)
    {
        std::printf("%-72s %10.2f\n", qPrintable(u"%1 at %2, ms"_s.arg(series).arg(x)),
                    value.count());
        add({{u"series"_s, series}, {u"x"_s, x}, {u"value"_s, value.count()}});
    }

    /// Writes the figures, if a file is named; returns the program's exit status, 1 when a bar was
    /// missed.
    int finish(const QString &file) const
    {
        if (!file.isEmpty())
            write(file);
        return m_met ? 0 : 1;
    }

private:
    static const char *verdict(bool met) { return met ? "met" : "MISSED"; }
    static QString label(const QString &name, const QString &unit) { return name + u", "_s + unit; }

    void add(const QJsonObject &figure)
    {
        std::fflush(stdout);
        m_figures.append(figure);
        m_met = m_met && figure.value("met"_L1).toBool(true);
    }

    void write(const QString &name) const
    {
        const QJsonObject all{{u"benchmark"_s, m_name}, {u"figures"_s, m_figures}};
        QFile file(name);
        if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(all).toJson()) < 0)
            qFatal("cannot write %s", qPrintable(name));
    }

    QString m_name;
    QJsonArray m_figures;
    bool m_met = true;
};

/// The command line that all benchmark programs have.
struct Options
{
    int repetitions = 0;
    QString jsonFile;
};

inline Options parseOptions(const QString &description, int defaultRepetitions)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(description);
    parser.addHelpOption();
    const QCommandLineOption repetitions(u"repetitions"_s, u"how often each is measured"_s, u"N"_s,
                                         QString::number(defaultRepetitions));
    const QCommandLineOption json(u"json"_s, u"also write the figures there"_s, u"FILE"_s);
    parser.addOptions({repetitions, json});
    parser.process(*QCoreApplication::instance());
    const int count = parser.value(repetitions).toInt();
    if (count < 1 || !parser.positionalArguments().isEmpty())
        parser.showHelp(2);
    return {count, parser.value(json)};
}

} // namespace tarn::benchmark
