#include "Platform/Updates/UpdateFetch.h"

#include "Platform/Updates/UpdateAddress.h"

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
    // Qt's own following with our consent asks twice for what a second redirect leads to.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
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
    case QNetworkReply::ProtocolUnknownError: // there is no TLS library
        return UpdateProblem::Insecure;
    default:
        return status == 0          ? UpdateProblem::Unreachable
               : status == statusOk ? UpdateProblem::Interrupted
                                    : UpdateProblem::ServerError;
    }
}

} // namespace

UpdateFetch::UpdateFetch(QNetworkAccessManager &network, MainQueue &queue, Order order)
    : m_network(network)
    , m_queue(queue)
    , m_order(std::move(order))
{
    ask(m_order.address);
}

UpdateFetch::~UpdateFetch()
{
    dropReply();
}

void UpdateFetch::ask(const QUrl &address)
{
    dropReply();
    m_received = 0;
    m_reply = m_network.get(requestFor(address));
    m_reply->setReadBufferSize(bufferSize);
    connect(m_reply, &QNetworkReply::readyRead, this, &UpdateFetch::take);
    connect(m_reply, &QNetworkReply::finished, this, &UpdateFetch::judge);
    awaitProgress();
}

void UpdateFetch::dropReply()
{
    if (!m_reply)
        return;
    m_reply->disconnect(this);
    m_reply->abort();
    m_reply->deleteLater();
    m_reply = nullptr;
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
    const bool isFile = status() == statusOk; // else an error page, which judge() comes to
    if (m_received > m_order.most)
        end(isFile ? m_order.whenMore : UpdateProblem::ServerError);
    else if (isFile && !m_order.keep(bytes))
        end(UpdateProblem::NoRoom);
    else
        return true;
    return false;
}

void UpdateFetch::judge()
{
    if (!take())
        return;
    const QUrl next = m_reply->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
    if (!next.isEmpty())
        follow(m_reply->url().resolved(next));
    else if (m_reply->error() == QNetworkReply::NoError && status() == statusOk)
        end(std::nullopt);
    else
        end(problemOf(m_reply->error(), status()));
}

void UpdateFetch::follow(const QUrl &address)
{
    if (++m_redirects <= mostRedirects && UpdateAddress::isUsableFrom(m_order.feed, address))
        ask(address);
    else
        end(UpdateProblem::UnsafeRedirect);
}

void UpdateFetch::end(std::optional<UpdateProblem> problem)
{
    if (problem)
        qCWarning(fetchLog) << "cannot fetch" << m_order.address << "- status" << status() << '-'
                            << m_reply->errorString();
    m_stall.reset();
    dropReply();
    std::exchange(m_order.finished, {})(problem); // may destroy this object
}

} // namespace Platform
