#pragma once

#include <QSocketNotifier>

namespace Platform {

/// While it lives, a request from outside to end the process (logout, shutdown, Ctrl+C in the
/// terminal, its closing) ends the event loop, so that what waits to be written is written. A
/// second request of the same kind ends the process at once. Main thread, one at a time.
class TerminationSignals final
{
public:
    TerminationSignals();
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals &) = delete;
    TerminationSignals &operator=(const TerminationSignals &) = delete;

private:
    QSocketNotifier m_notifier;
};

} // namespace Platform
