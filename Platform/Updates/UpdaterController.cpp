#include "Platform/Updates/UpdaterController.h"

#include "Platform/Screen/Alert.h"
#include "Platform/Updates/UpdateAddress.h"
#include "Platform/Updates/UpdateDialogs.h"
#include "Platform/Updates/UpdateFetch.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QNetworkProxyFactory>

#include <utility>

namespace Platform {

namespace {

constexpr auto progressDelay = std::chrono::milliseconds(300); // a quicker check shows no bar

/// The proxy of the user's desktop or environment, which Qt does not use unless asked to.
class DesktopProxy final : public QNetworkProxyFactory
{
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery &query) override
    {
        return systemProxyForQuery(query);
    }
};

UpdateProblem problemOf(AppcastRefusal refusal)
{
    switch (refusal) {
    case AppcastRefusal::TooLarge:
        return UpdateProblem::FeedTooLarge;
    case AppcastRefusal::Forbidden:
        return UpdateProblem::FeedForbidden;
    case AppcastRefusal::Unreadable:
        return UpdateProblem::FeedUnreadable;
    case AppcastRefusal::NothingHere:
        return UpdateProblem::FeedWithoutRelease;
    case AppcastRefusal::BadRelease:
        break;
    }
    return UpdateProblem::FeedBadRelease;
}

} // namespace

UpdaterController::UpdaterController(UpdateConfiguration configuration, MainQueue &queue,
                                     Opener open)
    : m_configuration(std::move(configuration))
    , m_queue(queue)
    , m_open(std::move(open))
    , m_feed(m_configuration.feed, QUrl::StrictMode)
    , m_publicKey(QByteArray::fromBase64(m_configuration.publicKey.toLatin1()))
{
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this,
            &UpdaterController::end);
}

UpdaterController::UpdaterController(UpdateConfiguration configuration)
    : UpdaterController(std::move(configuration), MainQueue::main(), &QDesktopServices::openUrl)
{}

UpdaterController::~UpdaterController()
{
    end();
}

void UpdaterController::checkForUpdates(QWidget *window)
{
    if (m_isRunning) {
        if (m_dialog) {
            m_dialog->raise();
            m_dialog->activateWindow();
        }
        return;
    }
    m_isRunning = true;
    m_window = window;
    if (window != nullptr)
        m_windowGone = connect(window, &QObject::destroyed, this, &UpdaterController::end);
    if (m_configuration.feed.isEmpty())
        tell(UpdateTexts::fromPackageManager(m_configuration.program, m_configuration.version));
    else if (!UpdateAddress::isUsable(m_feed) || m_publicKey.size() != updateKeySize)
        tell(UpdateTexts::problem(UpdateProblem::BadSetup));
    else
        fetchFeed();
}

void UpdaterController::fetchFeed()
{
    m_network = std::make_unique<QNetworkAccessManager>();
    m_network->setProxyFactory(new DesktopProxy);
    m_fetch = std::make_unique<UpdateFetch>(
        *m_network, m_queue,
        UpdateFetch::Order{m_feed, m_feed, largestAppcast, UpdateProblem::FeedTooLarge,
                           [this](const QByteArray &bytes) {
                               m_feedBytes += bytes;
                               return true;
                           },
                           [this](std::optional<UpdateProblem> problem) { judgeFeed(problem); }});
    m_showProgress = m_queue.schedule(progressDelay, [this] {
        present(new UpdateProgressDialog(sheetWindow(), UpdateTexts::checking()));
        connect(m_dialog, &QDialog::rejected, this, &UpdaterController::end);
    });
}

void UpdaterController::judgeFeed(std::optional<UpdateProblem> problem)
{
    if (problem) {
        tell(UpdateTexts::problem(*problem));
        return;
    }
    const auto answer = readAppcast(std::exchange(m_feedBytes, {}), m_feed);
    if (const auto *refusal = std::get_if<AppcastRefusal>(&answer)) {
        tell(UpdateTexts::problem(problemOf(*refusal)));
        return;
    }
    const auto &item = std::get<AppcastItem>(answer);
    const auto current = parseVersion(m_configuration.version);
    if (current && item.version > *current)
        offer(item);
    else
        tell(UpdateTexts::upToDate(m_configuration.program, m_configuration.version));
}

void UpdaterController::offer(const AppcastItem &item)
{
    m_showProgress.reset();
    m_fetch.reset();
    present(new UpdateOfferDialog(sheetWindow(),
                                  UpdateTexts::available(m_configuration.program,
                                                         m_configuration.version, item.shownVersion,
                                                         item.published),
                                  item.notes));
    connect(m_dialog, &QDialog::rejected, this, &UpdaterController::end);
    connect(m_dialog, &QDialog::accepted, this, [this, item] { download(item); });
}

void UpdaterController::download(const AppcastItem &item)
{
    auto *dialog = new UpdateProgressDialog(
        sheetWindow(), UpdateTexts::downloading(m_configuration.program, item.shownVersion));
    present(dialog);
    connect(dialog, &QDialog::rejected, this, &UpdaterController::end);
    m_download = std::make_unique<UpdateDownload>(
        *m_network, m_queue, item, m_feed, m_publicKey,
        UpdateDownload::Report{[dialog = QPointer(dialog)](int percent) {
                                   if (dialog)
                                       dialog->setPercent(percent);
                               },
                               [this](const UpdateDownload::Result &result) {
                                   if (const auto *problem = std::get_if<UpdateProblem>(&result))
                                       tell(UpdateTexts::problem(*problem));
                                   else
                                       offerToOpen(std::get<QString>(result));
                               }});
}

void UpdaterController::offerToOpen(const QString &path)
{
    endTransfer();
    closeDialog();
    const QString name = QFileInfo(path).fileName();
    const auto notice = UpdateTexts::saved(name);
    const auto answered = [self = QPointer(this), path, name](int button) {
        if (!self)
            return;
        if (button == 0 && !self->m_open(QUrl::fromLocalFile(path)))
            self->tell(UpdateTexts::notOpened(name));
        else
            self->end();
    };
    m_dialog = showAlert(
        sheetWindow(),
        {notice.message, notice.explanation, {UpdateTexts::open(), UpdateTexts::close()}, 0, 1},
        answered);
}

/// The last word of a check.
void UpdaterController::tell(const UpdateTexts::Notice &notice)
{
    endTransfer();
    closeDialog();
    m_dialog = showAlert(sheetWindow(), {notice.message, notice.explanation, {UpdateTexts::ok()}},
                         [self = QPointer(this)](int) {
                             if (self)
                                 self->end();
                         });
}

void UpdaterController::present(QDialog *dialog)
{
    closeDialog();
    m_dialog = dialog;
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
}

/// Without a word to whoever waits for its answer, who may be the caller.
void UpdaterController::closeDialog()
{
    if (!m_dialog)
        return;
    m_dialog->disconnect();
    m_dialog->hide();
    m_dialog->deleteLater();
    m_dialog.clear();
}

void UpdaterController::endTransfer()
{
    m_showProgress.reset();
    m_fetch.reset();
    m_download.reset();
    m_feedBytes.clear();
    // One of its own signals may be what brought us here.
    if (m_network)
        m_network.release()->deleteLater();
}

void UpdaterController::end()
{
    endTransfer();
    closeDialog();
    disconnect(m_windowGone);
    m_window.clear();
    m_isRunning = false;
}

QWidget *UpdaterController::sheetWindow() const
{
    return m_window && m_window->isVisible() ? m_window.data() : nullptr;
}

} // namespace Platform
