#pragma once

#include "language.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::demo {

/// Line and column count from 1; a column is one character.
struct Position
{
    int line = 0;
    int column = 0;
};

struct Problem
{
    Position position;
    std::string message;
};

enum class Command {
    Print,
    Error,
    Ask,
    Lines,
    Sleep,
    Repeat,
    Forever,
    End,
    PrintALot,
    Exit,
    Signal,
};

/// A part of a text: as written, or the name of a value to put there.
struct Piece
{
    std::string text;
    bool isName = false;
    Position position;
};

using Template = std::vector<Piece>;

/// One line of a script.
struct Statement
{
    Command command = Command::Print;
    Position position;
    /// The text, prompt, number or signal name behind the command word.
    Template argument;
    Position argumentPosition;
    /// Where Ask and Lines put what they read.
    std::string name;
    /// The End of a loop, the loop of an End.
    std::size_t partner = 0;
};

struct Script
{
    std::vector<Statement> statements;
    /// What keeps the script from being run, in the order of its lines; empty for a good script,
    /// and no more than can be read at a glance.
    std::vector<Problem> problems;
};

/// Reads a whole script; the problems are worded in `language`.
Script parseScript(std::string_view source, Language language);

/// The largest number that the command takes as its argument, 0 when it takes none.
int maximumNumber(Command command);

/// What to say about an argument that is no number the command takes.
std::string numberProblem(std::string_view text, Command command, Language language);

/// The number of the signal with this name ("TERM" or "SIGTERM"), 0 when a script cannot send it.
int signalNumber(std::string_view name);

std::string signalProblem(std::string_view name, Language language);

} // namespace tarn::demo
