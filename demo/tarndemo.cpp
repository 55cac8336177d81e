// tarn-demo: a small stand-in interpreter. It takes the command line with which the console starts
// its interpreter and carries out simple demonstration scripts, so that the console can be tried
// and tested where no Tarn is installed. It is not Tarn and imitates no language.

#include "interpreter.h"
#include "language.h"
#include "script.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::demo {

namespace {

constexpr int usageStatus = 2;

constexpr std::string_view helpText =
    R"(tarn-demo: a stand-in interpreter for trying and testing the TARN Console.
It is not Tarn and imitates no language; it only reads the small demonstration
scripts described here.

Usage: tarn-demo run SCRIPT [--diagnostic-language=en|ar] [--color=never]
       tarn-demo --help

A script has one command on a line, in English or in Arabic:

  print TEXT          اطبع         write a line
  error TEXT          خطأ          write a line to standard error
  ask PROMPT -> NAME  اسأل         write a prompt and read a line of input
  lines -> NAME       أسطر         repeat for every line until the input is closed
  repeat N            كرر          repeat N times
  forever             دائما        repeat until the program is stopped
  end                 نهاية        the end of a repetition
  sleep N             انتظر        wait N milliseconds
  print-a-lot N       اطبع-كثيرا   write N lines
  exit N              اخرج         end with the status N
  signal NAME         إشارة        end by a signal, for example TERM or SEGV
  # anything                       a comment

{name} in a text or number stands for what was read under that name, {count} or
{العدد} for the turn of the repetition; {{ and }} are plain braces.

Exit status: 0, or what the script says; 1 when the input was closed before a
question was answered; 2 when the script or this command line cannot be read.

هذا مفسّر بديل لتجربة طرفية TARN واختبارها. وهو ليس TARN ولا يحاكي أي لغة:
لا يقرأ إلا البرامج التجريبية الصغيرة المشروحة أعلاه، بأوامر عربية أو إنجليزية.
)";

constexpr Phrase cannotRead = {"Cannot read the script: %1", "تعذّرت قراءة الملف: %1"};
constexpr Phrase standIn = {
    "(This is tarn-demo, a stand-in for trying and testing the console. It is not Tarn and reads "
    "only its own small demonstration scripts: see tarn-demo --help.)",
    "(هذا مفسّر بديل لتجربة طرفية TARN واختبارها. وهو ليس TARN، ولا يقرأ إلا برامجه التجريبية "
    "الصغيرة: انظر tarn-demo --help)"};

struct CommandLine
{
    std::string script;
    Language language = Language::English;
};

/// Nothing when the arguments are not those of the usage text.
std::optional<CommandLine> parseArguments(const std::vector<std::string_view> &arguments)
{
    if (arguments.empty() || arguments.front() != "run")
        return std::nullopt;
    CommandLine line;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const std::string_view argument = arguments[i];
        if (argument == "--diagnostic-language=en")
            line.language = Language::English;
        else if (argument == "--diagnostic-language=ar")
            line.language = Language::Arabic;
        else if (argument.starts_with('-') && argument != "--color=never")
            return std::nullopt;
        else if (!argument.starts_with('-') && !line.script.empty())
            return std::nullopt;
        else if (!argument.starts_with('-'))
            line.script = argument;
    }
    if (line.script.empty())
        return std::nullopt;
    return line;
}

std::optional<std::string> readFile(const std::string &path)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        return std::nullopt;
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    if (file.peek() != std::ifstream::traits_type::eof())
        content << file.rdbuf();
    else if (!file.eof())
        return std::nullopt;
    if (!content || file.bad())
        return std::nullopt;
    return std::move(content).str();
}

int runScript(const CommandLine &line)
{
    const std::optional<std::string> source = readFile(line.script);
    if (!source) {
        std::cerr << say(cannotRead, line.language, {line.script}) << '\n'
                  << say(standIn, line.language) << std::endl;
        return scriptProblemStatus;
    }
    Script script = parseScript(*source, line.language);
    if (!script.problems.empty()) {
        for (const Problem &problem : script.problems)
            printProblem(problem, line.language);
        std::cerr << say(standIn, line.language) << std::endl;
        return scriptProblemStatus;
    }
    const char *journal = std::getenv("TARN_DEMO_JOURNAL");
    return Interpreter(std::move(script.statements), line.language, journal ? journal : "").run();
}

} // namespace

} // namespace tarn::demo

int main(int argc, char *argv[])
{
    using namespace tarn::demo;

    const std::vector<std::string_view> arguments(argv + std::min(argc, 1), argv + argc);
    if (arguments.size() == 1 && (arguments[0] == "--help" || arguments[0] == "-h")) {
        std::cout << helpText << std::flush;
        return 0;
    }
    if (const std::optional<CommandLine> line = parseArguments(arguments))
        return runScript(*line);
    std::cerr << helpText << std::flush;
    return usageStatus;
}
