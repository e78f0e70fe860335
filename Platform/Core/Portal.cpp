#include "Platform/Core/Portal.h"

#include "Platform/Core/PendingCall.h"
#include "Platform/Core/SessionBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QLoggingCategory>

namespace Platform {

namespace {

Q_LOGGING_CATEGORY(portalLog, "brevio.portal", QtWarningMsg)

const QString requestInterface = Portal::interfaceNamed(QStringLiteral("Request"));
const QString registryInterface = QStringLiteral("org.freedesktop.host.portal.Registry");
constexpr uint granted = 0;

QDBusConnection connectToSession()
{
    static int connections = 0;
    const QString name = QStringLiteral("brevio-portal-%1").arg(++connections);
    return hasSessionBus() ? QDBusConnection::connectToBus(QDBusConnection::SessionBus, name)
                           : QDBusConnection(name);
}

/// Says so too.
bool isFailure(const QDBusMessage &reply, const QString &method)
{
    if (reply.type() != QDBusMessage::ErrorMessage)
        return false;
    qCInfo(portalLog) << method << "fails:" << reply.errorMessage();
    return true;
}

} // namespace

const QString Portal::service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString Portal::path = QStringLiteral("/org/freedesktop/portal/desktop");

Portal::Portal(const QString &applicationId)
    : m_applicationId(applicationId)
    , m_bus(std::make_unique<QDBusConnection>(connectToSession()))
{
    if (!m_bus->isConnected())
        return;
    auto *owners =
        new QDBusServiceWatcher(service, *m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(owners, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &before, const QString &now) {
                // One that our own first call starts is going to answer it.
                if (before.isEmpty() && m_introduction)
                    return;
                dropRequests();
                if (!now.isEmpty())
                    introduce();
                Q_EMIT replaced(!now.isEmpty());
            });
    introduce();
}

Portal::~Portal()
{
    QDBusConnection::disconnectFromBus(m_bus->name());
}

void Portal::introduce()
{
    // Portals that do not know the call find out by themselves, or do not care.
    auto call = QDBusMessage::createMethodCall(service, path, registryInterface,
                                               QStringLiteral("Register"));
    call << m_applicationId << QVariantMap();
    m_introduction =
        callBus(*m_bus, call, [this](const QDBusMessage &) { m_introduction.reset(); });
}

bool Portal::isConnected() const
{
    return m_bus->isConnected();
}

void Portal::askVersion(const QString &interface, std::function<void(std::optional<uint>)> answered)
{
    callBus(*m_bus, propertyCall(service, path, interface, QStringLiteral("version")), this,
            [answered](const QDBusReply<QDBusVariant> &version) {
                answered(version.isValid() ? std::optional(version.value().variant().toUInt())
                                           : std::nullopt);
            });
}

void Portal::request(const QString &interface, const QString &method, const QVariantList &arguments,
                     QVariantMap options, Answer answered)
{
    const QString token = newToken();
    const QString sender = m_bus->baseService().mid(1).replace(u'.', u'_');
    const QString request = path + QStringLiteral("/request/%1/%2").arg(sender, token);
    // Listening first: the answer may be there before the call's own reply.
    m_bus->connect(QString(), request, requestInterface, QStringLiteral("Response"), this,
                   SLOT(respond(QDBusMessage)));
    m_answers.emplace(request, std::move(answered));

    options.insert(QStringLiteral("handle_token"), token);
    auto call = QDBusMessage::createMethodCall(service, path, interface, method);
    call.setArguments(arguments);
    call << options;
    callBus(*m_bus, call, this, [this, request, method](const QDBusMessage &reply) {
        if (isFailure(reply, method))
            finish(request, Outcome::Failed, {});
    });
}

void Portal::tell(const QString &object, const QString &interface, const QString &method,
                  const QVariantList &arguments)
{
    auto call = QDBusMessage::createMethodCall(service, object, interface, method);
    call.setArguments(arguments);
    callBus(*m_bus, call, this,
            [method](const QDBusMessage &reply) { (void)isFailure(reply, method); });
}

void Portal::respond(const QDBusMessage &message)
{
    const auto arguments = message.arguments();
    if (arguments.size() == 2)
        finish(message.path(),
               arguments[0].toUInt() == granted ? Outcome::Granted : Outcome::Refused,
               qdbus_cast<QVariantMap>(arguments[1]));
}

void Portal::finish(const QString &request, Outcome outcome, const QVariantMap &results)
{
    m_bus->disconnect(QString(), request, requestInterface, QStringLiteral("Response"), this,
                      SLOT(respond(QDBusMessage)));
    const auto answer = m_answers.extract(request);
    if (!answer.empty())
        answer.mapped()(outcome, results);
}

} // namespace Platform
