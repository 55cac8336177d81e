#include "script.h"

#include "text.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <optional>
#include <utility>

namespace tarn::demo {

namespace {

/// Reading stops here: the rest of such a script is hardly meant for this program.
constexpr std::size_t maximumProblems = 10;

enum class Argument { None, Text, PromptAndName, Name, Number, SignalName };

struct Word
{
    std::string_view word; ///< In the plain spelling.
    Command command;
};

constexpr std::array words = {
    Word{"print", Command::Print},
    Word{"اطبع", Command::Print},
    Word{"error", Command::Error},
    Word{"خطا", Command::Error},
    Word{"ask", Command::Ask},
    Word{"اسال", Command::Ask},
    Word{"lines", Command::Lines},
    Word{"اسطر", Command::Lines},
    Word{"sleep", Command::Sleep},
    Word{"انتظر", Command::Sleep},
    Word{"repeat", Command::Repeat},
    Word{"كرر", Command::Repeat},
    Word{"forever", Command::Forever},
    Word{"دائما", Command::Forever},
    Word{"end", Command::End},
    Word{"نهاية", Command::End},
    Word{"print-a-lot", Command::PrintALot},
    Word{"اطبع-كثيرا", Command::PrintALot},
    Word{"exit", Command::Exit},
    Word{"اخرج", Command::Exit},
    Word{"signal", Command::Signal},
    Word{"اشارة", Command::Signal},
};

struct SignalName
{
    std::string_view name;
    int number;
};

constexpr std::array signals = {
    SignalName{"HUP", SIGHUP},   SignalName{"INT", SIGINT},   SignalName{"QUIT", SIGQUIT},
    SignalName{"ABRT", SIGABRT}, SignalName{"KILL", SIGKILL}, SignalName{"SEGV", SIGSEGV},
    SignalName{"TERM", SIGTERM},
};

constexpr Phrase notUtf8 = {"the script is not UTF-8 text here", "النص هنا ليس بترميز UTF-8"};
constexpr Phrase unknownCommand = {"unknown command '%1'", "أمر غير معروف «%1»"};
constexpr Phrase missingArgument = {"'%1' needs something behind it",
                                    "الأمر «%1» يحتاج إلى شيء بعده"};
constexpr Phrase unexpectedArgument = {"'%1' takes nothing behind it",
                                       "الأمر «%1» لا يأخذ شيئًا بعده"};
constexpr Phrase missingName = {"'%1' needs '-> NAME' for what it reads",
                                "الأمر «%1» يحتاج إلى «-> اسم» لما يقرؤه"};
constexpr Phrase badName = {"'%1' cannot be a name", "لا يصلح «%1» اسمًا"};
constexpr Phrase openBrace = {"'{' without '}'", "القوس «{» بلا «}»"};
constexpr Phrase endWithoutLoop = {"'%1' without a loop", "«%1» ليس قبله تكرار"};
constexpr Phrase loopWithoutEnd = {"this loop has no 'end'", "هذا التكرار بلا «نهاية»"};
constexpr Phrase notANumber = {"'%1' is not a whole number from 0 to %2",
                               "«%1» ليس عددًا صحيحًا من 0 إلى %2"};
constexpr Phrase unknownSignal = {"'%1' is not the name of a signal that can be sent here",
                                  "«%1» ليس اسم إشارة يمكن إرسالها هنا"};

std::optional<Command> commandOf(std::string_view word)
{
    const std::string plain = plainSpelling(word);
    for (const Word &entry : words) {
        if (plain == entry.word)
            return entry.command;
    }
    return std::nullopt;
}

Argument argumentOf(Command command)
{
    switch (command) {
    case Command::Print:
    case Command::Error:
        return Argument::Text;
    case Command::Ask:
        return Argument::PromptAndName;
    case Command::Lines:
        return Argument::Name;
    case Command::Sleep:
    case Command::Repeat:
    case Command::PrintALot:
    case Command::Exit:
        return Argument::Number;
    case Command::Signal:
        return Argument::SignalName;
    case Command::Forever:
    case Command::End:
        break;
    }
    return Argument::None;
}

bool opensLoop(Command command)
{
    return command == Command::Repeat || command == Command::Forever || command == Command::Lines;
}

/// Reads a script line by line and collects what is wrong with it.
class Parser
{
public:
    explicit Parser(Language language)
        : m_language(language)
    {
    }

    Script parse(std::string_view source);

private:
    void parseLine();
    void parseArgument(Statement &statement, std::size_t start, std::size_t end);
    void parseName(Statement &statement, std::size_t start);
    void checkConstant(const Statement &statement);
    Template parseTemplate(std::size_t start, std::size_t end);
    void pairLoops(Statement &statement);
    void reportOpenLoops();

    /// Offsets are bytes of the current line.
    Position positionAt(std::size_t offset) const;
    void report(Position position, const Phrase &phrase,
                std::initializer_list<std::string_view> values = {});

    Language m_language;
    std::string_view m_line;
    int m_lineNumber = 0;
    std::string_view m_word;
    std::vector<std::size_t> m_openLoops;
    Script m_script;
};

Script Parser::parse(std::string_view source)
{
    if (source.starts_with("\xEF\xBB\xBF"))
        source.remove_prefix(3);
    while (!source.empty() && m_script.problems.size() < maximumProblems) {
        const std::size_t end = std::min(source.find('\n'), source.size());
        m_line = source.substr(0, end);
        if (m_line.ends_with('\r'))
            m_line.remove_suffix(1);
        ++m_lineNumber;
        if (const std::optional<std::size_t> invalid = firstInvalidByte(m_line)) {
            // Not a text file: whatever else could be said about it would be noise.
            m_script.problems.clear();
            report(positionAt(*invalid), notUtf8);
            return std::move(m_script);
        }
        parseLine();
        source.remove_prefix(std::min(end + 1, source.size()));
    }
    if (m_script.problems.size() < maximumProblems)
        reportOpenLoops();
    return std::move(m_script);
}

void Parser::reportOpenLoops()
{
    for (const std::size_t loop : m_openLoops)
        report(m_script.statements[loop].position, loopWithoutEnd);
    std::stable_sort(m_script.problems.begin(), m_script.problems.end(),
                     [](const Problem &left, const Problem &right) {
                         return left.position.line < right.position.line;
                     });
}

void Parser::parseLine()
{
    const std::size_t start = m_line.find_first_not_of(blanks);
    if (start == std::string_view::npos || m_line[start] == '#')
        return;
    const std::size_t wordEnd = std::min(m_line.find_first_of(blanks, start), m_line.size());
    m_word = m_line.substr(start, wordEnd - start);
    const std::optional<Command> command = commandOf(m_word);
    if (!command) {
        report(positionAt(start), unknownCommand, {m_word});
        return;
    }
    Statement statement;
    statement.command = *command;
    statement.position = positionAt(start);
    parseArgument(statement, std::min(wordEnd + 1, m_line.size()), m_line.size());
    pairLoops(statement);
    m_script.statements.push_back(std::move(statement));
}

void Parser::parseArgument(Statement &statement, std::size_t start, std::size_t end)
{
    const Argument kind = argumentOf(statement.command);
    if (kind == Argument::PromptAndName || kind == Argument::Name) {
        const std::size_t arrow = m_line.rfind("->");
        if (arrow == std::string_view::npos || arrow < start) {
            report(statement.position, missingName, {m_word});
            return;
        }
        parseName(statement, arrow + 2);
        end = arrow;
    }
    if (kind != Argument::Text) {
        // Only a text keeps the blanks it is written with.
        const std::string_view rest = trimmed(m_line.substr(start, end - start));
        start = rest.empty() ? start : static_cast<std::size_t>(rest.data() - m_line.data());
        end = start + rest.size();
    }
    statement.argumentPosition = positionAt(start);
    const bool mustBeEmpty = kind == Argument::None || kind == Argument::Name;
    const bool mayBeEmpty = mustBeEmpty || kind == Argument::Text;
    if (start == end && !mayBeEmpty)
        report(statement.position, missingArgument, {m_word});
    else if (start != end && mustBeEmpty)
        report(statement.argumentPosition, unexpectedArgument, {m_word});
    else
        statement.argument = parseTemplate(start, end);
    checkConstant(statement);
}

void Parser::parseName(Statement &statement, std::size_t start)
{
    const std::string_view name = trimmed(m_line.substr(start));
    if (name.empty())
        report(statement.position, missingName, {m_word});
    else if (name.find_first_of(" \t{}") != std::string_view::npos)
        report(positionAt(static_cast<std::size_t>(name.data() - m_line.data())), badName, {name});
    statement.name = name;
}

void Parser::checkConstant(const Statement &statement)
{
    if (statement.argument.size() != 1 || statement.argument.front().isName)
        return;
    const std::string &text = statement.argument.front().text;
    const Argument kind = argumentOf(statement.command);
    std::string problem;
    if (kind == Argument::Number) {
        const std::optional<int> number = parseNumber(text);
        if (!number || *number > maximumNumber(statement.command))
            problem = numberProblem(text, statement.command, m_language);
    } else if (kind == Argument::SignalName && signalNumber(text) == 0) {
        problem = signalProblem(text, m_language);
    }
    if (!problem.empty())
        m_script.problems.push_back({statement.argumentPosition, std::move(problem)});
}

Template Parser::parseTemplate(std::size_t start, std::size_t end)
{
    Template pieces;
    std::string text;
    std::size_t at = start;
    while (at < end) {
        const std::string_view rest = m_line.substr(at, end - at);
        if (rest.starts_with("{{") || rest.starts_with("}}")) {
            text += rest.front();
            at += 2;
        } else if (rest.front() != '{') {
            text += rest.front();
            ++at;
        } else if (const std::size_t close = rest.find('}'); close != std::string_view::npos) {
            if (!text.empty())
                pieces.push_back({std::move(text), false, {}});
            text.clear();
            pieces.push_back({std::string(rest.substr(1, close - 1)), true, positionAt(at)});
            at += close + 1;
        } else {
            report(positionAt(at), openBrace);
            break;
        }
    }
    if (!text.empty())
        pieces.push_back({std::move(text), false, {}});
    return pieces;
}

void Parser::pairLoops(Statement &statement)
{
    const std::size_t index = m_script.statements.size();
    if (opensLoop(statement.command)) {
        m_openLoops.push_back(index);
    } else if (statement.command == Command::End) {
        if (m_openLoops.empty()) {
            report(statement.position, endWithoutLoop, {m_word});
            return;
        }
        statement.partner = m_openLoops.back();
        m_script.statements[statement.partner].partner = index;
        m_openLoops.pop_back();
    }
}

Position Parser::positionAt(std::size_t offset) const
{
    return {m_lineNumber, characterCount(m_line.substr(0, offset)) + 1};
}

void Parser::report(Position position, const Phrase &phrase,
                    std::initializer_list<std::string_view> values)
{
    m_script.problems.push_back({position, say(phrase, m_language, values)});
}

} // namespace

Script parseScript(std::string_view source, Language language)
{
    return Parser(language).parse(source);
}

int maximumNumber(Command command)
{
    switch (command) {
    case Command::Sleep:
        return 3'600'000;
    case Command::Repeat:
    case Command::PrintALot:
        return 1'000'000;
    case Command::Exit:
        return 255;
    default:
        return 0;
    }
}

std::string numberProblem(std::string_view text, Command command, Language language)
{
    return say(notANumber, language, {text, std::to_string(maximumNumber(command))});
}

int signalNumber(std::string_view name)
{
    if (name.starts_with("SIG"))
        name.remove_prefix(3);
    for (const SignalName &entry : signals) {
        if (name == entry.name)
            return entry.number;
    }
    return 0;
}

std::string signalProblem(std::string_view name, Language language)
{
    return say(unknownSignal, language, {name});
}

} // namespace tarn::demo
