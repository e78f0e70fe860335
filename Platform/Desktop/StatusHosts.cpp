#include "Platform/Desktop/StatusHosts.h"

#include "Platform/Core/PendingCall.h"
#include "Platform/Core/SessionBus.h"
#include "Platform/Core/X11Events.h"
#include "Platform/Screen/X11.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QLoggingCategory>

#include <xcb/xcb.h>

namespace Platform {

namespace {

Q_LOGGING_CATEGORY(statusHostsLog, "brevio.statusitem", QtWarningMsg)

const QString watcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");
const QString hostProperty = QStringLiteral("IsStatusNotifierHostRegistered");
const QString hostSignal = QStringLiteral("StatusNotifierHostRegistered");
/// Qt's trays, too, are those of the first screen.
const QByteArray traySelection = QByteArrayLiteral("_NET_SYSTEM_TRAY_S0");

} // namespace

StatusHosts::StatusHosts()
{
    m_xEvents = onX11Event([this](const X11Event &event) {
        noticeTray(event);
        return X11Verdict::Pass;
    });
    findTray();
    watchBus();
}

bool StatusHosts::isAny() const
{
    // Which kind is used is settled by the first icon, so the newer kind is waited for.
    return m_hasNotifier.has_value() && (*m_hasNotifier || m_tray != 0);
}

void StatusHosts::watchBus()
{
    if (!hasSessionBus() || !QDBusConnection::sessionBus().isConnected()) {
        setNotifier(false);
        return;
    }
    auto bus = QDBusConnection::sessionBus();
    auto *owners =
        new QDBusServiceWatcher(watcherName, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(owners, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &, const QString &owner) {
                setNotifier(false);
                if (!owner.isEmpty())
                    askWatcher();
            });
    // Naming the service here would make Qt wait for the bus to say who owns it.
    if (!bus.connect(QString(), watcherPath, watcherName, hostSignal, this, SLOT(askWatcher())))
        qCInfo(statusHostsLog) << "a panel that joins a running watcher will go unnoticed";
    askWatcher();
}

void StatusHosts::askWatcher()
{
    auto question = propertyCall(watcherName, watcherPath, watcherName, hostProperty);
    question.setAutoStartService(false);
    m_question = callBus(QDBusConnection::sessionBus(), question,
                         [this](const QDBusReply<QDBusVariant> &hasHost) {
                             setNotifier(hasHost.isValid() && hasHost.value().variant().toBool());
                         });
}

void StatusHosts::setNotifier(bool isThere)
{
    const auto before = std::exchange(m_hasNotifier, isThere);
    if (before != m_hasNotifier)
        announceLater();
}

void StatusHosts::findTray()
{
    const auto server = X11::Server::current();
    const auto tray = server ? server->ownerOf(traySelection) : 0;
    if (std::exchange(m_tray, tray) == tray)
        return;
    if (tray != 0) {
        // The same events that Qt asks of this window, over the same connection.
        const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_discard_reply(server->connection(),
                          xcb_change_window_attributes_checked(server->connection(), tray,
                                                               XCB_CW_EVENT_MASK, &mask)
                              .sequence);
        // One that died just before that would never be told of.
        if (server->ownerOf(traySelection) != tray)
            m_tray = 0;
    }
    announceLater();
}

void StatusHosts::noticeTray(const X11Event &event)
{
    if (event.kind == XCB_CLIENT_MESSAGE) {
        const auto &news = event.as<xcb_client_message_event_t>();
        const auto server = X11::Server::current();
        if (server && news.window == server->root() && news.type == server->atom("MANAGER") &&
            news.data.data32[1] == server->atom(traySelection))
            findTray();
    } else if (event.kind == XCB_DESTROY_NOTIFY && m_tray != 0 &&
               event.as<xcb_destroy_notify_event_t>().window == m_tray) {
        findTray();
    }
}

void StatusHosts::announceLater()
{
    // A panel's restart is several changes; and an icon must not go while Qt handles its events.
    if (std::exchange(m_isAnnouncing, true))
        return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_isAnnouncing = false;
            qCInfo(statusHostsLog)
                << "watcher:" << m_hasNotifier.value_or(false) << "tray window:" << m_tray;
            Q_EMIT changed();
        },
        Qt::QueuedConnection);
}

} // namespace Platform
