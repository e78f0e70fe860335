#include "Platform/Core/Descriptor.h"
#include "Platform/Desktop/InstanceBackends.h"

#include <QList>
#include <QLoggingCategory>
#include <QSocketNotifier>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <utility>

#include <sys/socket.h>
#include <sys/un.h>

namespace Platform {

namespace {

Q_LOGGING_CATEGORY(instanceLog, "brevio.instance", QtCriticalMsg)

using Outcome = InstanceClaim::Outcome;

constexpr int waitingGuests = 16;           // copies that may ask while the first still starts
constexpr qsizetype mostGuests = 16;        // connected at once and silent so far
constexpr std::size_t longestPacket = 4096; // bytes

/// One packet each way: the question with the asking start's mark, and the answer.
const QByteArray question = QByteArrayLiteral("show ");
const QByteArray answer = QByteArrayLiteral("shown");

struct Address
{
    explicit Address(const QByteArray &name)
    {
        address.sun_family = AF_UNIX;
        // A leading zero puts the name into the abstract namespace; its length is part of it.
        const auto size = std::min<std::size_t>(static_cast<std::size_t>(name.size()),
                                                sizeof address.sun_path - 1);
        std::memcpy(address.sun_path + 1, name.constData(), size);
        length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + size);
    }
    [[nodiscard]] const sockaddr *get() const
    {
        return reinterpret_cast<const sockaddr *>(&address);
    }

    sockaddr_un address{};
    socklen_t length = 0;
};

/// Anyone on this machine can take or reach an abstract name, so both ends ask the kernel.
bool isSameUser(int socket)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
           peer.uid == ::geteuid();
}

bool send(int socket, const QByteArray &packet)
{
    return ::send(socket, packet.constData(), static_cast<std::size_t>(packet.size()),
                  MSG_NOSIGNAL) == packet.size();
}

/// Nothing when no whole packet came.
QByteArray receive(int socket)
{
    QByteArray packet(longestPacket, Qt::Uninitialized);
    const auto size = ::recv(socket, packet.data(), longestPacket, MSG_TRUNC);
    return size > 0 && size <= packet.size() ? packet.left(size) : QByteArray();
}

/// Listens for other copies. Owns its guests' sockets; each may say one thing, and one that says
/// nothing costs a descriptor until newer ones push it out.
class SocketDoor final : public QObject
{
public:
    SocketDoor(Descriptor listener, InstanceDelivery deliver)
        : m_listener(std::move(listener))
        , m_deliver(std::move(deliver))
        , m_knock(m_listener.get(), QSocketNotifier::Read)
    {
        connect(&m_knock, &QSocketNotifier::activated, this, [this] { admit(); });
    }
    ~SocketDoor() override
    {
        while (!m_guests.isEmpty())
            dismiss(m_guests.first());
    }

private:
    void admit()
    {
        const int socket =
            ::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (socket < 0) {
            // Out of descriptors: the knocking would go on for ever.
            if (errno == EMFILE || errno == ENFILE)
                m_knock.setEnabled(false);
            return;
        }
        if (!isSameUser(socket)) {
            ::close(socket);
            return;
        }
        if (m_guests.size() == mostGuests)
            dismiss(m_guests.first());
        auto *guest = new QSocketNotifier(socket, QSocketNotifier::Read, this);
        m_guests.append(guest);
        connect(guest, &QSocketNotifier::activated, this, [this, guest] { serve(guest); });
    }

    void serve(QSocketNotifier *guest)
    {
        const auto socket = static_cast<int>(guest->socket());
        const QByteArray packet = receive(socket);
        const bool isQuestion = packet.startsWith(question);
        // A guest that has given up waiting still wants it done.
        if (isQuestion && !send(socket, answer))
            qCInfo(instanceLog, "another copy did not wait for the answer");
        dismiss(guest);
        if (isQuestion)
            m_deliver({}, packet.mid(question.size()));
    }

    void dismiss(QSocketNotifier *guest)
    {
        guest->setEnabled(false);
        ::close(static_cast<int>(guest->socket()));
        m_guests.removeOne(guest);
        guest->deleteLater(); // this may be its own signal
    }

    Descriptor m_listener;
    InstanceDelivery m_deliver;
    QSocketNotifier m_knock;
    QList<QSocketNotifier *> m_guests;
};

Outcome ask(const Address &address, const StartupMarks &marks, std::chrono::milliseconds patience)
{
    using namespace std::chrono;
    const auto time = std::max(duration_cast<microseconds>(patience), microseconds(1));
    const timeval timeout{time / 1s, (time % 1s).count()};
    const Descriptor line(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    for (const int direction : {SO_SNDTIMEO, SO_RCVTIMEO})
        ::setsockopt(line.get(), SOL_SOCKET, direction, &timeout, sizeof timeout);
    if (::connect(line.get(), address.get(), address.length) != 0)
        return Outcome::Unanswered;
    if (!isSameUser(line.get())) {
        qCWarning(instanceLog, "another user has taken the socket");
        return Outcome::Unavailable;
    }
    const QByteArray mark = marks.startupId.isEmpty() ? marks.activationToken : marks.startupId;
    const bool isAnswered = send(line.get(), question + mark) && receive(line.get()) == answer;
    return isAnswered ? Outcome::Answered : Outcome::Unanswered;
}

} // namespace

InstanceClaim claimSocket(const QByteArray &name, const StartupMarks &marks,
                          std::chrono::milliseconds patience, InstanceDelivery deliver)
{
    const Address address(name);
    Descriptor listener(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (::bind(listener.get(), address.get(), address.length) != 0) {
        if (errno == EADDRINUSE)
            return {ask(address, marks, patience), nullptr};
    } else if (::listen(listener.get(), waitingGuests) == 0) {
        return {Outcome::Held,
                std::make_shared<SocketDoor>(std::move(listener), std::move(deliver))};
    }
    qCWarning(instanceLog, "no local socket: %s", std::strerror(errno));
    return {};
}

} // namespace Platform
