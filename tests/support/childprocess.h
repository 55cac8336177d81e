#pragma once

#include <string_view>

/// What the scripted child does with signals, and the children it leaves behind.
namespace tarn::console::child {

/// A child that a failed test forgot ends by itself after this time.
inline constexpr unsigned longestLifeSeconds = 150;

/// Arguments: options of fork-grandchild, see scriptedchild.cpp.
void forkGrandchild(std::string_view options);

void ignoreTermination();
/// Arguments: an exit status and a text.
void exitOnTermination(std::string_view arguments);
/// Writes the text at every SIGTERM and goes on.
void reportTermination(std::string_view text);

/// Sends the named signal ("KILL", "SEGV"...) to this process.
void raiseNamedSignal(std::string_view name);

/// Stops every later child of our parent.
[[noreturn]] void stopSiblings();

void allowDebugger();

[[noreturn]] void waitForever();

} // namespace tarn::console::child
