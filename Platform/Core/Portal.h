#pragma once

#include "Platform/Core/Observable.h"

#include <QObject>
#include <QVariantMap>

#include <map>
#include <memory>
#include <optional>

class QDBusConnection;
class QDBusMessage;

namespace Platform {

/// The program's line to the desktop portal: a bus connection of its own, because the portal wants
/// to hear the application's id before anything else on it. Nothing here waits for an answer. Main
/// thread only.
class Portal final : public QObject
{
    Q_OBJECT

public:
    /// Failed: there is no such portal, or it took no such call from us; nobody was asked.
    enum class Outcome { Granted, Refused, Failed };
    using Answer = std::function<void(Outcome outcome, const QVariantMap &results)>;

    static const QString service;
    static const QString path;
    /// The full name of one of its interfaces, of "Settings" for example.
    [[nodiscard]] static QString interfaceNamed(const QString &name)
    {
        return QStringLiteral("org.freedesktop.portal.") + name;
    }

    /// `applicationId` names the installed desktop file, without its ".desktop".
    explicit Portal(const QString &applicationId);
    ~Portal() override;

    /// False where there is no session bus; then nothing else works.
    [[nodiscard]] bool isConnected() const;
    [[nodiscard]] QDBusConnection &bus() { return *m_bus; }

    /// Asks for one of the portal's versions; empty when it has no such interface.
    void askVersion(const QString &interface, std::function<void(std::optional<uint>)> answered);
    /// Makes a call that the portal answers later, perhaps after the user did. The options, the
    /// call's last argument, are given the request's token.
    void request(const QString &interface, const QString &method, const QVariantList &arguments,
                 QVariantMap options, Answer answered);
    /// Makes a call whose answer says nothing.
    void tell(const QString &object, const QString &interface, const QString &method,
              const QVariantList &arguments);
    /// Answers still to come are dropped, without a call.
    void dropRequests() { m_answers.clear(); }
    /// Good for one object path.
    [[nodiscard]] QString newToken() { return QStringLiteral("brevio%1").arg(++m_tokens); }

Q_SIGNALS:
    /// The portal has ended, or one has started that knows nothing of us but the application's id.
    /// The requests that were open have been dropped.
    void replaced(bool isRunning);

private Q_SLOTS:
    void respond(const QDBusMessage &message);

private:
    void introduce();
    void finish(const QString &request, Outcome outcome, const QVariantMap &results);

    QString m_applicationId;
    std::unique_ptr<QDBusConnection> m_bus;
    Subscription m_introduction;         ///< Until it is answered.
    std::map<QString, Answer> m_answers; ///< By the request's object path.
    int m_tokens = 0;
};

} // namespace Platform
