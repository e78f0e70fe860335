#pragma once

#include "Platform/Core/MainQueue.h"
#include "Platform/Updates/Appcast.h"
#include "Platform/Updates/UpdateConfiguration.h"
#include "Platform/Updates/UpdateDownload.h"
#include "Platform/Updates/UpdateTexts.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>
#include <optional>

class QDialog;
class QNetworkAccessManager;
class QWidget;

namespace Platform {

class UpdateFetch;

/// Looks for a newer version when the user asks, tells about it, downloads and verifies it, puts
/// it into the Downloads folder and offers to open it there. It installs nothing by itself, and
/// nothing runs, waits or is kept in memory between two checks. Whatever ends a check, an end of
/// the program included, takes what was downloaded so far with it. Main thread only.
class UpdaterController final : public QObject
{
    Q_OBJECT

public:
    /// Hands a file to the program the desktop has for it; false when there is none.
    using Opener = std::function<bool(const QUrl &file)>;

    /// `queue` must outlive the object.
    UpdaterController(UpdateConfiguration configuration, MainQueue &queue, Opener open);
    /// With the main queue and the desktop's own opener.
    explicit UpdaterController(UpdateConfiguration configuration);
    ~UpdaterController() override;

    /// Starts a check that shows its dialogs as sheets on the window, free-standing for null or
    /// while the window is hidden. While one is going on that one is raised instead. The end of
    /// the window is the end of its check.
    void checkForUpdates(QWidget *window);

private:
    void fetchFeed();
    void judgeFeed(std::optional<UpdateProblem> problem);
    void offer(const AppcastItem &item);
    void download(const AppcastItem &item);
    void offerToOpen(const QString &path);
    void tell(const UpdateTexts::Notice &notice);
    void present(QDialog *dialog);
    void closeDialog();
    void endTransfer();
    void end();
    [[nodiscard]] QWidget *sheetWindow() const;

    UpdateConfiguration m_configuration;
    MainQueue &m_queue;
    Opener m_open;
    QUrl m_feed;
    QByteArray m_publicKey;

    bool m_isRunning = false;
    QPointer<QWidget> m_window;
    QMetaObject::Connection m_windowGone;
    QPointer<QDialog> m_dialog;
    MainQueue::Pending m_showProgress;
    QByteArray m_feedBytes;
    std::unique_ptr<QNetworkAccessManager> m_network; ///< outlives the two below it
    std::unique_ptr<UpdateFetch> m_fetch;
    std::unique_ptr<UpdateDownload> m_download;
};

} // namespace Platform
