#pragma once

#include "language.h"
#include "script.h"

#include <cstddef>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::demo {

/// The status with which a run ends whose script cannot be read or carried out.
inline constexpr int scriptProblemStatus = 2;
/// The status with which a run ends whose question nobody can answer any more.
inline constexpr int inputEndedStatus = 1;

/// "Line 3, column 5: ..." on standard error, in the language asked for.
void printProblem(const Problem &problem, Language language);

/// Carries out one good script on the standard streams. Every line and every prompt is flushed at
/// once, so that whoever watches sees it when it is written.
class Interpreter
{
public:
    /// Notes "started", "asked", "answered", "input closed" and "ended STATUS" as lines of the file
    /// `journal`, unless it is empty, for scripts that drive a console and have to know when to
    /// answer.
    Interpreter(std::vector<Statement> statements, Language language, const std::string &journal);

    /// Returns the exit status; does not return when the script ends itself by a signal.
    int run();

private:
    struct Loop
    {
        std::size_t header;
        std::optional<int> turns; ///< Nothing: until something else ends it.
        int turn;
    };

    void execute(std::size_t index);
    void print(const Statement &statement);
    void ask(const Statement &statement);
    void runLoop(std::size_t index);
    bool beginTurn(const Statement &statement, Loop &loop);
    void sleep(const Statement &statement);
    void printALot(const Statement &statement);
    void raiseSignal(const Statement &statement);

    /// The text with its values put in; nothing, and the run has failed, when one is missing.
    std::optional<std::string> expand(const Statement &statement);
    std::optional<int> number(const Statement &statement);
    std::optional<std::string> readLine();
    void setCount(int turn);
    void fail(Position position, const std::string &message, int status = scriptProblemStatus);
    void note(std::string_view event);

    std::vector<Statement> m_statements;
    Language m_language;
    std::ofstream m_journal;
    std::map<std::string, std::string, std::less<>> m_values;
    std::vector<Loop> m_loops;
    std::size_t m_next = 0;
    std::optional<int> m_status;
};

} // namespace tarn::demo
