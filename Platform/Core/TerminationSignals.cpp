#include "Platform/Core/TerminationSignals.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdint>

#include <sys/eventfd.h>
#include <unistd.h>

namespace Platform {

namespace {

constexpr int signals[] = {SIGTERM, SIGINT, SIGHUP};

/// What a handler may touch is little more than a descriptor.
int requested = -1;

void noteRequest(int)
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(requested, &one, sizeof one);
}

int openCounter()
{
    return requested = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
}

} // namespace

TerminationSignals::TerminationSignals()
    : m_notifier(openCounter(), QSocketNotifier::Read)
{
    QObject::connect(&m_notifier, &QSocketNotifier::activated, &m_notifier, [this] {
        m_notifier.setEnabled(false);
        QCoreApplication::quit();
    });
    struct sigaction action
    {};
    action.sa_handler = noteRequest;
    action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
    for (const int signal : signals) {
        struct sigaction before
        {};
        // Whoever started us may want a signal ignored, as nohup does.
        if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            ::sigaction(signal, &action, nullptr);
    }
}

TerminationSignals::~TerminationSignals()
{
    for (const int signal : signals) {
        struct sigaction now
        {};
        if (::sigaction(signal, nullptr, &now) == 0 && now.sa_handler == noteRequest)
            ::signal(signal, SIG_DFL);
    }
    m_notifier.setEnabled(false);
    ::close(requested);
}

} // namespace Platform
