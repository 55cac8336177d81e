#pragma once

#include <string>
#include <string_view>

#include <unistd.h>

/// Plain POSIX input and output of the scripted child, without buffers of the C++ library, so that
/// every write is one system call at the moment it is asked for.
namespace tarn::console::child {

/// Writes everything; gives up silently when the descriptor is closed.
void writeAll(int descriptor, std::string_view bytes);
/// One line on standard output.
void reportLine(std::string_view line);

/// Replaces \n \r \t \e \s (blank) \0 \\ and \xNN by the bytes they stand for.
std::string unescaped(std::string_view text);
/// The text repeated, and cut, to so many bytes.
std::string repeatedTo(std::string_view text, std::size_t bytes);

/// Takes the first word off a text, with the one blank behind it.
std::string_view takeWord(std::string_view &text);
/// The number a text starts with; the fallback when there is none.
long numberOr(std::string_view text, long fallback);

/// Reads one line of standard input without its line feed. Returns false at the end of file.
bool readInputLine(std::string &line);
/// Reads what is left of standard input.
std::string readInputToEnd();

void sleepMilliseconds(long milliseconds);

} // namespace tarn::console::child
