#pragma once

#include <QObject>

#include <functional>

namespace tarn::console {

/// Ends the application in order at SIGTERM, SIGINT or SIGHUP, instead of at once. A second signal
/// ends it at once. A signal that is ignored at the start (nohup) stays ignored. At most one of
/// these objects exists at a time.
class TerminationSignals : public QObject
{
public:
    /// Calls the function from the event loop, once.
    explicit TerminationSignals(std::function<void()> endInOrder, QObject *parent = nullptr);
    ~TerminationSignals() override;

private:
    std::function<void()> m_endInOrder;
    int m_readEnd = -1;
};

} // namespace tarn::console
