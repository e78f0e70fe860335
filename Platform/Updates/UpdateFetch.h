#pragma once

#include "Platform/Core/MainQueue.h"
#include "Platform/Updates/UpdateProblem.h"

#include <QByteArray>
#include <QObject>
#include <QUrl>

#include <functional>
#include <optional>

class QNetworkAccessManager;
class QNetworkReply;

namespace Platform {

/// Fetches one file, in steps that cost little memory whatever the server sends. Redirects are
/// followed only where the address rules allow. Destroying it ends the transfer. Main thread only.
class UpdateFetch final : public QObject
{
    Q_OBJECT

public:
    struct Order
    {
        QUrl address;
        QUrl feed;              ///< what the rules for addresses go by
        qint64 most = 0;        ///< bytes; more of them end the transfer
        UpdateProblem whenMore; ///< what that is called
        /// Takes the next bytes; false when they could not be kept.
        std::function<bool(const QByteArray &bytes)> keep;
        /// Called once at the end, never from within the constructor; nothing means success. The
        /// object may be destroyed in it.
        std::function<void(std::optional<UpdateProblem> problem)> finished;
    };

    /// Both must outlive the object.
    UpdateFetch(QNetworkAccessManager &network, MainQueue &queue, Order order);
    ~UpdateFetch() override;

private:
    void ask(const QUrl &address);
    void dropReply();
    void awaitProgress();
    /// False when that was the end, and this object may be gone.
    bool take();
    void judge();
    void follow(const QUrl &address);
    void end(std::optional<UpdateProblem> problem);
    [[nodiscard]] int status() const;

    QNetworkAccessManager &m_network;
    MainQueue &m_queue;
    Order m_order;
    QNetworkReply *m_reply = nullptr; ///< owned by the manager; empty once at the end
    qint64 m_received = 0;            ///< bytes
    int m_redirects = 0;
    MainQueue::Pending m_stall;
};

} // namespace Platform
