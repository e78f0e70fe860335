#include "Platform/Core/SessionBus.h"
#include "Platform/Desktop/InstanceBackends.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QLoggingCategory>

#include <utility>

namespace Platform {

namespace {

Q_LOGGING_CATEGORY(instanceLog, "brevio.instance", QtCriticalMsg)

using Outcome = InstanceClaim::Outcome;

const QString applicationInterface = QStringLiteral("org.freedesktop.Application");
const QString startupIdKey = QStringLiteral("desktop-startup-id");
const QString activationTokenKey = QStringLiteral("activation-token");
const QString busService = QStringLiteral("org.freedesktop.DBus");
const QString busPath = QStringLiteral("/org/freedesktop/DBus");

/// A connection of its own: on the shared one Qt holds back what comes in until the event loop
/// runs, and the first request would then come after the launch that it caused.
const QString connectionName = QStringLiteral("Platform::Instance");

int milliseconds(std::chrono::milliseconds time)
{
    // Zero and less would mean the bus's own 25 seconds.
    return std::max(1, static_cast<int>(time.count()));
}

QString pathFor(QString applicationId)
{
    return u'/' + applicationId.replace(u'.', u'/');
}

/// The object on the bus. Its slots are the interface, to the letter.
class BusDoor final : public QObject
{
    Q_OBJECT

public:
    BusDoor(QString path, InstanceDelivery deliver)
        : m_path(std::move(path))
        , m_deliver(std::move(deliver))
    {}
    ~BusDoor() override
    {
        // A call that has come and waits for the event loop is refused through the connection: it
        // must not be left to what destroys this after the connection is gone.
        QDBusConnection(connectionName).unregisterObject(m_path);
        QCoreApplication::removePostedEvents(this);
        QDBusConnection::disconnectFromBus(connectionName);
    }

public Q_SLOTS:
    void Activate(const QVariantMap &platformData) { m_deliver({}, markIn(platformData)); }
    void Open(const QStringList & /*locations*/, const QVariantMap &platformData)
    {
        m_deliver({}, markIn(platformData));
    }
    void ActivateAction(const QString &action, const QVariantList & /*parameters*/,
                        const QVariantMap &platformData)
    {
        m_deliver(action, markIn(platformData));
    }

private:
    static QByteArray markIn(const QVariantMap &platformData)
    {
        const QByteArray startupId = platformData.value(startupIdKey).toString().toUtf8();
        return startupId.isEmpty() ? platformData.value(activationTokenKey).toString().toUtf8()
                                   : startupId;
    }

    QString m_path;
    InstanceDelivery m_deliver;
};

Outcome ask(QDBusConnection bus, const QString &applicationId, const StartupMarks &marks,
            int timeout)
{
    QVariantMap platformData;
    if (!marks.startupId.isEmpty())
        platformData.insert(startupIdKey, QString::fromUtf8(marks.startupId));
    if (!marks.activationToken.isEmpty())
        platformData.insert(activationTokenKey, QString::fromUtf8(marks.activationToken));
    QDBusMessage message = QDBusMessage::createMethodCall(
        applicationId, pathFor(applicationId), applicationInterface, QStringLiteral("Activate"));
    message << platformData;
    // Should the owner be gone by now, the place is ours and not that of a third copy.
    message.setAutoStartService(false);
    const QDBusMessage reply = bus.call(message, QDBus::Block, timeout);
    if (reply.type() == QDBusMessage::ReplyMessage)
        return Outcome::Answered;
    qCWarning(instanceLog) << "no answer over the bus:" << reply.errorMessage();
    return Outcome::Unanswered;
}

} // namespace

InstanceClaim claimBusName(const QString &applicationId, const StartupMarks &marks,
                           std::chrono::milliseconds patience, InstanceDelivery deliver)
{
    if (!hasSessionBus())
        return {};
    const QString path = pathFor(applicationId);
    auto door = std::make_shared<BusDoor>(path, std::move(deliver));
    auto bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName);
    // The object first: a call that comes right after the name would find nothing.
    if (!bus.isConnected() || !bus.registerObject(path, applicationInterface, door.get(),
                                                  QDBusConnection::ExportAllSlots)) {
        qCWarning(instanceLog) << "no session bus:" << bus.lastError().message();
        return {};
    }
    const int timeout = milliseconds(patience);
    bus.interface()->setTimeout(timeout);
    const auto registration =
        bus.interface()->registerService(applicationId, QDBusConnectionInterface::DontQueueService,
                                         QDBusConnectionInterface::DontAllowReplacement);
    if (!registration.isValid()) {
        qCWarning(instanceLog) << "the bus refuses the name:" << registration.error().message();
        return {};
    }
    if (registration.value() != QDBusConnectionInterface::ServiceRegistered)
        return {ask(bus, applicationId, marks, timeout), nullptr};
    // The bus sends in order, so once it has answered this, a call that it had kept for the name
    // is in the main thread's queue. What it says does not matter.
    (void)bus.call(
        QDBusMessage::createMethodCall(busService, busPath, busService, QStringLiteral("GetId")),
        QDBus::Block, timeout);
    return {Outcome::Held, std::move(door)};
}

} // namespace Platform

#include "Instance_bus.moc"
