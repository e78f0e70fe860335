#include "Platform/Desktop/Instance.h"

#include "Platform/Core/UserTime.h"
#include "Platform/Desktop/InstanceBackends.h"
#include "Platform/Screen/StartupNotice.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QFile>

#include <cstdio>
#include <filesystem>
#include <thread>
#include <utility>

#include <unistd.h>

namespace Platform {

namespace {

using Outcome = InstanceClaim::Outcome;
using std::chrono::milliseconds;

constexpr auto pauseBetweenTries = milliseconds(20);
constexpr qsizetype longestIdInName = 60; // bytes
constexpr qsizetype hashInName = 32;      // hexadecimal digits

/// Read before main() runs: Qt takes the first one out of the environment.
const StartupMarks startupMarks{qgetenv("DESKTOP_STARTUP_ID"), qgetenv("XDG_ACTIVATION_TOKEN")};

/// The display server's time that launchers write at the end of a mark; zero without one.
std::uint32_t timeIn(const QByteArray &mark)
{
    const auto label = QByteArrayLiteral("_TIME");
    const auto at = mark.lastIndexOf(label);
    return at < 0 ? 0 : mark.mid(at + label.size()).toUInt();
}

/// Two spellings of one folder must be one name, also before the folder exists.
QByteArray canonical(const QString &folder)
{
    std::error_code error;
    const auto path =
        std::filesystem::weakly_canonical(QFile::encodeName(folder).constData(), error);
    return error ? QFile::encodeName(folder) : QByteArray::fromStdString(path.string());
}

QByteArray socketName(const QString &applicationId, const QString &dataFolder)
{
    const QByteArray id = applicationId.toUtf8();
    const QByteArray key =
        id + '\0' + QByteArray::number(::geteuid()) + '\0' + canonical(dataFolder);
    const auto hash = QCryptographicHash::hash(key, QCryptographicHash::Sha256).toHex();
    return id.left(longestIdInName) + '-' + hash.left(hashInName);
}

void complain()
{
    const QString line = QCoreApplication::translate("Platform::Instance",
                                                     "%1 is already running and does not answer.")
                             .arg(QCoreApplication::applicationName());
    std::fprintf(stderr, "%s\n", qPrintable(line));
}

} // namespace

Instance::Instance(QStringList actions)
    : m_actions(std::move(actions))
{}

Instance::~Instance() = default;

std::unique_ptr<Instance> Instance::claim(const QString &applicationId, const QString &dataFolder,
                                          const QStringList &actions, milliseconds patience)
{
    const QByteArray name = socketName(applicationId, dataFolder);
    const QDeadlineTimer deadline(patience);
    do {
        std::unique_ptr<Instance> instance(new Instance(actions));
        const auto deliver = [target = instance.get()](const QString &action,
                                                       const QByteArray &mark) {
            target->deliver(action, mark);
        };
        const auto left = [&] { return milliseconds(deadline.remainingTime()); };
        // Always in this order. Who holds the socket waits for nobody, so of all the copies that
        // start at once, some on other buses, one stays and none waits in a circle.
        auto bus = claimBusName(applicationId, startupMarks, left(), deliver);
        if (bus.outcome == Outcome::Answered)
            return nullptr;
        if (bus.outcome != Outcome::Unanswered) {
            auto socket = claimSocket(name, startupMarks, left(), deliver);
            if (socket.outcome == Outcome::Answered)
                return nullptr;
            if (socket.outcome != Outcome::Unanswered) {
                instance->m_busName = std::move(bus.hold);
                instance->m_socket = std::move(socket.hold);
                UserTime::note(timeIn(startupMarks.startupId));
                return instance;
            }
        }
        // The other copy may have been on its way out, and then the place is free now.
        std::this_thread::sleep_for(std::min(pauseBetweenTries, left()));
    } while (!deadline.hasExpired());
    complain();
    return nullptr;
}

std::vector<InstanceRequest> Instance::takePending()
{
    return std::exchange(m_pending, {});
}

void Instance::onRequest(Callback callback)
{
    m_callback = std::move(callback);
    for (const auto &request : takePending())
        m_callback(request);
}

void Instance::deliver(const QString &action, const QByteArray &startupMark)
{
    if (!action.isEmpty() && !m_actions.contains(action))
        return;
    UserTime::note(timeIn(startupMark));
    if (m_callback)
        m_callback({action});
    else
        m_pending.push_back({action});
    endStartupNotice(startupMark);
}

} // namespace Platform
