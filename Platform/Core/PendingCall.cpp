#include "Platform/Core/PendingCall.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

namespace Platform {

Subscription callBus(const QDBusConnection &bus, const QDBusMessage &call, BusReply replied)
{
    auto handle = std::make_shared<std::unique_ptr<QDBusPendingCallWatcher>>(
        new QDBusPendingCallWatcher(bus.asyncCall(call)));
    QObject::connect(handle->get(), &QDBusPendingCallWatcher::finished, handle->get(),
                     [held = std::weak_ptr(handle), tell = std::move(replied)] {
                         // No longer the handle's, which may be dropped by what is told.
                         auto *pending = held.lock()->release();
                         pending->deleteLater();
                         tell(pending->reply());
                     });
    return handle;
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
