#include "Platform/Core/SessionBus.h"

#include "Platform/Core/Descriptor.h"

#include <QByteArray>
#include <QFileInfo>

#include <cstddef>
#include <cstring>
#include <optional>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace Platform {

namespace {

constexpr auto addressVariable = "DBUS_SESSION_BUS_ADDRESS";
/// No transport has this name, so connecting fails at once.
constexpr auto noBus = "disabled:";
constexpr int patience = 2000; // milliseconds

QByteArray defaultAddress()
{
    const QByteArray path = qgetenv("XDG_RUNTIME_DIR") + "/bus";
    return QFileInfo::exists(QString::fromLocal8Bit(path)) ? "unix:path=" + path : QByteArray();
}

/// The name of the address's socket; one in the abstract namespace begins with a zero. Nothing for
/// other kinds of transport.
std::optional<QByteArray> socketIn(const QByteArray &address)
{
    const QByteArray first = address.split(';').first().split(',').first();
    for (const QByteArray prefix : {"unix:path=", "unix:abstract="}) {
        if (first.startsWith(prefix))
            return QByteArray(prefix.endsWith("abstract=") ? 1 : 0, '\0') +
                   QByteArray::fromPercentEncoding(first.mid(prefix.size()));
    }
    return std::nullopt;
}

/// Whether somebody behind the socket says anything in time when a client begins to introduce
/// itself.
bool answers(const QByteArray &name)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const auto size = static_cast<std::size_t>(name.size());
    if (size >= sizeof address.sun_path)
        return true; // somebody else may know better
    std::memcpy(address.sun_path, name.constData(), size);
    const auto length =
        static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + size + (name[0] == '\0' ? 0 : 1));
    const Descriptor line(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (::connect(line.get(), reinterpret_cast<const sockaddr *>(&address), length) != 0)
        return false;
    const QByteArray hello = QByteArray(1, '\0') + "AUTH\r\n";
    if (::send(line.get(), hello.constData(), static_cast<std::size_t>(hello.size()),
               MSG_NOSIGNAL) != hello.size())
        return false;
    pollfd reply{line.get(), POLLIN, 0};
    return ::poll(&reply, 1, patience) == 1;
}

} // namespace

void settleSessionBus()
{
    QByteArray address = qgetenv(addressVariable);
    if (address.isEmpty())
        address = defaultAddress();
    const auto name = socketIn(address);
    if (address.isEmpty() || (name && (name->isEmpty() || !answers(*name))))
        qputenv(addressVariable, noBus);
}

bool hasSessionBus()
{
    const QByteArray address = qgetenv(addressVariable);
    return address != noBus && !(address.isEmpty() && defaultAddress().isEmpty());
}

} // namespace Platform
