#pragma once

#include "Platform/Core/Observable.h"

class QDBusConnection;
class QDBusMessage;
class QObject;

namespace Platform {

/// What came back: the reply, or an error when there is nobody to answer, or no answer in time.
using BusReply = std::function<void(const QDBusMessage &reply)>;

/// Makes a call over the bus without waiting for its answer, which comes on a later turn of the
/// event loop. Dropping the subscription drops the answer, as does the receiver's end. Main thread
/// only.
[[nodiscard]] Subscription callBus(const QDBusConnection &bus, const QDBusMessage &call,
                                   BusReply replied);
void callBus(const QDBusConnection &bus, const QDBusMessage &call, QObject *receiver,
             BusReply replied);

/// The call that asks an object for one of its properties; answered with a variant.
[[nodiscard]] QDBusMessage propertyCall(const QString &service, const QString &path,
                                        const QString &interface, const QString &property);

} // namespace Platform
