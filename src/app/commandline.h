#pragma once

#include "app/consolestartupoptions.h"

#include <QCommandLineOption>
#include <QCommandLineParser>

namespace tarn::console {

/// The command line of the console. File names are as FileName has them.
class CommandLine
{
public:
    CommandLine();

    /// What the arguments, the program's name first, ask for. Does not return for what the console
    /// does not know, and for the help and the version: says so and ends.
    ConsoleStartupOptions process(const QStringList &arguments);

    /// Only takes them in. False for what the console does not know.
    bool parse(const QStringList &arguments);
    ConsoleStartupOptions options() const;

private:
    bool hasOneSourceAtMost() const;

    QCommandLineOption m_tarnOption;
    QCommandLineParser m_parser;
};

} // namespace tarn::console
