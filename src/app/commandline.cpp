#include "app/commandline.h"

#include "session/filename.h"

namespace tarn::console {

using namespace Qt::StringLiterals;

CommandLine::CommandLine()
    : m_tarnOption(u"tarn"_s, QObject::tr("TARN executable to run"), QObject::tr("PATH"))
{
    m_parser.setApplicationDescription(QObject::tr("TARN Console"));
    m_parser.addHelpOption();
    m_parser.addVersionOption();
    m_parser.addOption(m_tarnOption);
    m_parser.addPositionalArgument(
        u"SOURCE"_s, QObject::tr(".tarn or .ترن source to select without running"), u"[SOURCE]"_s);
}

ConsoleStartupOptions CommandLine::process(const QStringList &arguments)
{
    m_parser.process(arguments);
    if (!hasOneSourceAtMost())
        m_parser.showHelp(2);
    return options();
}

bool CommandLine::parse(const QStringList &arguments)
{
    return m_parser.parse(arguments) && hasOneSourceAtMost();
}

bool CommandLine::hasOneSourceAtMost() const
{
    return m_parser.positionalArguments().size() <= 1;
}

ConsoleStartupOptions CommandLine::options() const
{
    ConsoleStartupOptions options;
    options.executablePath = FileName::printable(m_parser.value(m_tarnOption));
    options.sourcePath = m_parser.positionalArguments().value(0);
    return options;
}

} // namespace tarn::console
