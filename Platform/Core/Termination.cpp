#include "Platform/Core/Termination.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <cerrno>
#include <csignal>

#include <sys/eventfd.h>

namespace Platform {

namespace {

int wakeUp = -1; // an event descriptor: nearly all that a signal handler may touch

void wake(int)
{
    const int savedError = errno;
    (void)::eventfd_write(wakeUp, 1);
    errno = savedError;
}

} // namespace

void quitOnTerminationSignals()
{
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);

    wakeUp = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeUp < 0)
        return;
    auto *notifier = new QSocketNotifier(wakeUp, QSocketNotifier::Read, qApp);
    // Not quit(), which any window may veto.
    QObject::connect(notifier, &QSocketNotifier::activated, qApp, [] {
        eventfd_t count = 0;
        (void)::eventfd_read(wakeUp, &count);
        QCoreApplication::exit(0);
    });
    struct sigaction action = {};
    action.sa_handler = wake;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        struct sigaction before = {};
        if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            ::sigaction(signal, &action, nullptr);
    }
}

} // namespace Platform
