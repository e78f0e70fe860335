#include "Platform/Core/PendingCall.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

namespace Platform {

Subscription callBus(const QDBusConnection &bus, const QDBusMessage &call, BusReply replied)
{
    // It may be dropped by what it tells.
    const std::shared_ptr<QDBusPendingCallWatcher> pending(
        new QDBusPendingCallWatcher(bus.asyncCall(call)), [](QDBusPendingCallWatcher *dropped) {
            dropped->disconnect();
            dropped->deleteLater();
        });
    QObject::connect(pending.get(), &QDBusPendingCallWatcher::finished, pending.get(),
                     [tell = std::move(replied)](QDBusPendingCallWatcher *finished) {
                         tell(finished->reply());
                     });
    return pending;
}

void callBus(const QDBusConnection &bus, const QDBusMessage &call, QObject *receiver,
             BusReply replied)
{
    auto *pending = new QDBusPendingCallWatcher(bus.asyncCall(call), receiver);
    QObject::connect(pending, &QDBusPendingCallWatcher::finished, receiver,
                     [pending, tell = std::move(replied)] {
                         pending->deleteLater();
                         tell(pending->reply());
                     });
}

QDBusMessage propertyCall(const QString &service, const QString &path, const QString &interface,
                          const QString &property)
{
    auto call = QDBusMessage::createMethodCall(
        service, path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    call << interface << property;
    return call;
}

} // namespace Platform
