#pragma once

#include "Platform/Updates/Appcast.h"
#include "Platform/Updates/UpdateProblem.h"

#include <QFile>
#include <QTemporaryDir>

#include <functional>
#include <memory>
#include <variant>

class QNetworkAccessManager;

namespace Platform {

class MainQueue;
class UpdateFetch;

/// Downloads a package into a private temporary folder, verifies it there, and only then copies it
/// into the user's Downloads folder, under a name of its own and never over another file. The
/// temporary folder goes with the object, which also ends what is under way. Main thread only.
class UpdateDownload final
{
public:
    /// The absolute path of the verified package, or what went wrong.
    using Result = std::variant<QString, UpdateProblem>;
    struct Report
    {
        std::function<void(int percent)> progress;
        /// Called once, later; the object may be destroyed in it.
        std::function<void(const Result &result)> finished;
    };

    /// `publicKey` is the publisher's Ed25519 key, 32 bytes. The references must outlive the
    /// object.
    UpdateDownload(QNetworkAccessManager &network, MainQueue &queue, AppcastItem item,
                   const QUrl &feed, QByteArray publicKey, Report report);
    ~UpdateDownload();
    UpdateDownload(const UpdateDownload &) = delete;
    UpdateDownload &operator=(const UpdateDownload &) = delete;

private:
    bool keep(const QByteArray &bytes);
    [[nodiscard]] Result accept();

    AppcastItem m_item;
    QByteArray m_publicKey;
    Report m_report;
    QTemporaryDir m_folder;
    QFile m_file;
    std::unique_ptr<UpdateFetch> m_fetch;
};

/// The length of an Ed25519 public key, in bytes.
inline constexpr qsizetype updateKeySize = 32;

} // namespace Platform
