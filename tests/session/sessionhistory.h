#pragma once

#include "session/simulatedclock.h"

#include <QString>

namespace tarn::console {

/// Plays the history that belongs to a seed, always the same: a few dozen calls of a session, by
/// its user and by listeners from within signals, and events of its simulated processes, in random
/// order. Returns what broke the contract, or nothing; `steps`, if given, gets the history in
/// words.
QString playSessionHistory(quint64 seed, SimulatedClock &clock, QStringList *steps = nullptr);

} // namespace tarn::console
