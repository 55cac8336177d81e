#include "interpreter.h"

#include "text.h"

#include <chrono>
#include <csignal>
#include <iostream>
#include <thread>
#include <utility>

#include <sys/resource.h>
#include <unistd.h>

namespace tarn::demo {

namespace {

constexpr Phrase problemStart = {"Line %1, column %2: ", "السطر %1، العمود %2: "};
constexpr Phrase unknownName = {"no value has the name '%1'", "لا توجد قيمة باسم «%1»"};
constexpr Phrase inputEnded = {"the input was closed before this question was answered",
                               "أُغلق الإدخال قبل الإجابة عن هذا السؤال"};
constexpr Phrase manyLines = {"Line %1 of %2", "السطر %1 من %2"};

} // namespace

void printProblem(const Problem &problem, Language language)
{
    const std::string line = std::to_string(problem.position.line);
    const std::string column = std::to_string(problem.position.column);
    std::cerr << say(problemStart, language, {line, column}) << problem.message << std::endl;
}

Interpreter::Interpreter(std::vector<Statement> statements, Language language,
                         const std::string &journal)
    : m_statements(std::move(statements))
    , m_language(language)
{
    if (!journal.empty())
        m_journal.open(journal, std::ios::app);
    setCount(0);
}

int Interpreter::run()
{
    note("started");
    while (!m_status && m_next < m_statements.size())
        execute(m_next++);
    const int status = m_status.value_or(0);
    note("ended " + std::to_string(status));
    return status;
}

void Interpreter::execute(std::size_t index)
{
    const Statement &statement = m_statements[index];
    switch (statement.command) {
    case Command::Print:
    case Command::Error:
        return print(statement);
    case Command::Ask:
        return ask(statement);
    case Command::Lines:
    case Command::Repeat:
    case Command::Forever:
        return runLoop(index);
    case Command::End:
        m_next = statement.partner;
        return;
    case Command::Sleep:
        return sleep(statement);
    case Command::PrintALot:
        return printALot(statement);
    case Command::Exit:
        if (const std::optional<int> status = number(statement))
            m_status = status;
        return;
    case Command::Signal:
        return raiseSignal(statement);
    }
}

void Interpreter::print(const Statement &statement)
{
    const std::optional<std::string> text = expand(statement);
    if (text)
        (statement.command == Command::Error ? std::cerr : std::cout) << *text << std::endl;
}

void Interpreter::ask(const Statement &statement)
{
    const std::optional<std::string> prompt = expand(statement);
    if (!prompt)
        return;
    std::cout << *prompt << ' ' << std::flush;
    std::optional<std::string> answer = readLine();
    // Only a terminal ends the prompt's line by itself when it shows the answer.
    if (!answer || !isatty(STDIN_FILENO))
        std::cout << std::endl;
    if (answer)
        m_values[statement.name] = std::move(*answer);
    else
        fail(statement.position, say(inputEnded, m_language), inputEndedStatus);
}

void Interpreter::runLoop(std::size_t index)
{
    const Statement &statement = m_statements[index];
    const bool entered = m_loops.empty() || m_loops.back().header != index;
    if (entered) {
        std::optional<int> turns;
        if (statement.command == Command::Repeat) {
            turns = number(statement);
            if (!turns)
                return;
        }
        m_loops.push_back({index, turns, 0});
        setCount(0);
    }
    if (beginTurn(statement, m_loops.back()))
        return;
    m_loops.pop_back();
    m_next = statement.partner + 1;
}

bool Interpreter::beginTurn(const Statement &statement, Loop &loop)
{
    if (loop.turns && loop.turn == *loop.turns)
        return false;
    if (statement.command == Command::Lines) {
        std::optional<std::string> line = readLine();
        if (!line)
            return false;
        m_values[statement.name] = std::move(*line);
    }
    setCount(++loop.turn);
    return true;
}

void Interpreter::sleep(const Statement &statement)
{
    if (const std::optional<int> milliseconds = number(statement))
        std::this_thread::sleep_for(std::chrono::milliseconds(*milliseconds));
}

void Interpreter::printALot(const Statement &statement)
{
    const std::optional<int> lines = number(statement);
    if (!lines)
        return;
    const std::string total = std::to_string(*lines);
    // The two languages take turns, so that both sides of the window fill.
    for (int i = 1; i <= *lines; ++i) {
        const Language language = i % 2 == 0 ? Language::Arabic : Language::English;
        std::cout << say(manyLines, language, {std::to_string(i), total}) << std::endl;
    }
}

void Interpreter::raiseSignal(const Statement &statement)
{
    const std::optional<std::string> name = expand(statement);
    if (!name)
        return;
    const int signal = signalNumber(*name);
    if (signal == 0)
        return fail(statement.argumentPosition, signalProblem(*name, m_language));
    // A demonstration of a crash leaves no core file behind.
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

std::optional<std::string> Interpreter::expand(const Statement &statement)
{
    std::string text;
    for (const Piece &piece : statement.argument) {
        if (!piece.isName) {
            text += piece.text;
            continue;
        }
        const auto value = m_values.find(piece.text);
        if (value == m_values.end()) {
            fail(piece.position, say(unknownName, m_language, {piece.text}));
            return std::nullopt;
        }
        text += value->second;
    }
    return text;
}

std::optional<int> Interpreter::number(const Statement &statement)
{
    const std::optional<std::string> text = expand(statement);
    if (!text)
        return std::nullopt;
    const std::optional<int> number = parseNumber(*text);
    if (number && *number <= maximumNumber(statement.command))
        return number;
    fail(statement.argumentPosition, numberProblem(*text, statement.command, m_language));
    return std::nullopt;
}

std::optional<std::string> Interpreter::readLine()
{
    note("asked");
    std::string line;
    const bool answered = static_cast<bool>(std::getline(std::cin, line));
    note(answered ? "answered" : "input closed");
    if (!answered)
        return std::nullopt;
    return line;
}

void Interpreter::setCount(int turn)
{
    m_values["count"] = m_values["العدد"] = std::to_string(turn);
}

void Interpreter::fail(Position position, const std::string &message, int status)
{
    printProblem({position, message}, m_language);
    m_status = status;
}

void Interpreter::note(std::string_view event)
{
    if (m_journal.is_open())
        m_journal << event << std::endl;
}

} // namespace tarn::demo
