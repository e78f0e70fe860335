#include "Platform/Desktop/UpdateFetch.h"

#include "Platform/Desktop/UpdateAddress.h"

#include <QLoggingCategory>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <utility>

namespace Platform {

namespace {

Q_LOGGING_CATEGORY(fetchLog, "brevio.updates", QtCriticalMsg)

constexpr auto longestSilence = std::chrono::seconds(15);
constexpr int mostRedirects = 5;
constexpr qint64 bufferSize = 64 * 1024; // bytes
constexpr int statusOk = 200;

QNetworkRequest requestFor(const QUrl &address)
{
    QNetworkRequest request(address);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::UserVerifiedRedirectPolicy);
    request.setMaximumRedirectsAllowed(mostRedirects);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                         QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    // Asked for as it is, nothing is unpacked on the way: a small answer cannot swell.
    request.setRawHeader("Accept-Encoding", "identity");
    return request;
}

/// `status` is HTTP's, 0 for no answer at all.
UpdateProblem problemOf(QNetworkReply::NetworkError error, int status)
{
    switch (error) {
    case QNetworkReply::SslHandshakeFailedError:
    case QNetworkReply::ProtocolUnknownError: // no TLS library, or a redirect to neither scheme
        return UpdateProblem::Insecure;
    case QNetworkReply::TooManyRedirectsError:
    case QNetworkReply::InsecureRedirectError:
        return UpdateProblem::UnsafeRedirect;
    default:
        return status == 0          ? UpdateProblem::Unreachable
               : status == statusOk ? UpdateProblem::Interrupted
                                    : UpdateProblem::ServerError;
    }
}

} // namespace

UpdateFetch::UpdateFetch(QNetworkAccessManager &network, MainQueue &queue, Order order)
    : m_queue(queue)
    , m_order(std::move(order))
    , m_reply(network.get(requestFor(m_order.address)))
{
    m_reply->setReadBufferSize(bufferSize);
    connect(m_reply, &QNetworkReply::readyRead, this, &UpdateFetch::take);
    connect(m_reply, &QNetworkReply::redirected, this, &UpdateFetch::follow);
    connect(m_reply, &QNetworkReply::finished, this, &UpdateFetch::judge);
    awaitProgress();
}

UpdateFetch::~UpdateFetch()
{
    if (!m_reply)
        return;
    m_reply->disconnect(this);
    m_reply->abort();
    m_reply->deleteLater();
}

void UpdateFetch::awaitProgress()
{
    m_stall = m_queue.schedule(longestSilence, [this] { end(UpdateProblem::TimedOut); });
}

int UpdateFetch::status() const
{
    return m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

bool UpdateFetch::take()
{
    const QByteArray bytes = m_reply->readAll();
    if (bytes.isEmpty())
        return true;
    awaitProgress();
    m_received += bytes.size();
    if (status() != statusOk)
        end(UpdateProblem::ServerError);
    else if (m_received > m_order.most)
        end(m_order.whenMore);
    else if (!m_order.keep(bytes))
        end(UpdateProblem::NoRoom);
    else
        return true;
    return false;
}

void UpdateFetch::judge()
{
    if (!take())
        return;
    if (m_reply->error() == QNetworkReply::NoError && status() == statusOk)
        end(std::nullopt);
    else
        end(problemOf(m_reply->error(), status()));
}

void UpdateFetch::follow(const QUrl &address)
{
    awaitProgress();
    if (UpdateAddress::isUsableFrom(m_order.feed, address))
        Q_EMIT m_reply->redirectAllowed();
    else
        end(UpdateProblem::UnsafeRedirect);
}

void UpdateFetch::end(std::optional<UpdateProblem> problem)
{
    if (problem)
        qCWarning(fetchLog) << "cannot fetch" << m_order.address << "- status" << status() << '-'
                            << m_reply->errorString();
    m_stall.reset();
    QNetworkReply *reply = std::exchange(m_reply, nullptr);
    reply->disconnect(this);
    reply->abort();
    reply->deleteLater();
    std::exchange(m_order.finished, {})(problem); // may destroy this object
}

} // namespace Platform
