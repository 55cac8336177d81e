#pragma once

#include "session/programsession.h"

#include <QObject>

#include <functional>

namespace tarn::console {

/// A signal of a session, and how to connect an action that needs no arguments to it.
struct SessionSignal
{
    const char *name;
    void (*connectTo)(ProgramSession &session, const std::function<void()> &action);
};

template<auto signal>
void connectAction(ProgramSession &session, const std::function<void()> &action)
{
    QObject::connect(&session, signal, &session, [action] { action(); });
}

inline constexpr SessionSignal everySignal[] = {
    {"stateChanged", connectAction<&ProgramSession::stateChanged>},
    {"outputAvailable", connectAction<&ProgramSession::outputAvailable>},
    {"completed", connectAction<&ProgramSession::completed>},
    {"runStateChanged", connectAction<&ProgramSession::runStateChanged>},
    {"runOutputAvailable", connectAction<&ProgramSession::runOutputAvailable>},
    {"inputAccepted", connectAction<&ProgramSession::inputAccepted>},
    {"inputStateChanged", connectAction<&ProgramSession::inputStateChanged>},
    {"runCompleted", connectAction<&ProgramSession::runCompleted>},
};

} // namespace tarn::console
