#include "Platform/Updates/UpdateDownload.h"

#include "Platform/Storage/Files.h"
#include "Platform/Updates/UpdateFetch.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <sodium.h>

#include <utility>

namespace Platform {

namespace {

constexpr qsizetype longestName = 120; // characters; file systems take 255 bytes
constexpr int mostNumbers = 999;
const auto folderPattern = QStringLiteral("/brevio-update-XXXXXX");
const auto packageName = QStringLiteral("package");
const auto namelessPackage = QStringLiteral("update");

static_assert(updateKeySize == crypto_sign_ed25519_PUBLICKEYBYTES);

/// The last part of the address, of characters that no shell, label or file manager reads as
/// anything but a name.
QString fileName(const QUrl &address)
{
    QString name = address.fileName(QUrl::FullyDecoded).section(u'/', -1);
    for (QChar &character : name) {
        const bool isPlain = character.unicode() < 0x80 && character.isLetterOrNumber();
        if (!isPlain && !QStringView(u".-+~_").contains(character))
            character = u'_';
    }
    name = name.right(longestName);
    // Not hidden, and neither an option nor a home folder for whoever types a command with it.
    while (!name.isEmpty() && QStringView(u".-+~").contains(name.front()))
        name.remove(0, 1);
    return name.isEmpty() ? namelessPackage : name;
}

bool isThere(const QString &path)
{
    return Files::exists(path) || QFileInfo(path).isSymLink();
}

UpdateDownload::Result saveToDownloads(const QString &package, const QString &name)
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    if (!Files::makeFolder(folder))
        return UpdateProblem::NotSaved;
    const QFileInfo parts(name);
    for (int number = 0; number <= mostNumbers; ++number) {
        const QString numbered =
            number == 0 ? name
                        : QStringLiteral("%1-%2%3").arg(
                              parts.completeBaseName(), QString::number(number),
                              parts.suffix().isEmpty() ? QString() : u'.' + parts.suffix());
        const QString path = folder + u'/' + numbered;
        if (isThere(path))
            continue;
        if (Files::copy(package, path))
            return path;
        if (!isThere(path))
            return UpdateProblem::NotSaved;
    }
    return UpdateProblem::NotSaved;
}

bool isSigned(const QByteArray &package, const AppcastItem &item, const QByteArray &publicKey)
{
    const auto bytes = [](const QByteArray &array) {
        return reinterpret_cast<const unsigned char *>(array.constData());
    };
    return ::sodium_init() >= 0 && publicKey.size() == updateKeySize &&
           item.signature.size() == crypto_sign_ed25519_BYTES &&
           ::crypto_sign_ed25519_verify_detached(bytes(item.signature), bytes(package),
                                                 static_cast<unsigned long long>(package.size()),
                                                 bytes(publicKey)) == 0;
}

} // namespace

UpdateDownload::UpdateDownload(QNetworkAccessManager &network, MainQueue &queue, AppcastItem item,
                               const QUrl &feed, QByteArray publicKey, Report report)
    : m_item(std::move(item))
    , m_publicKey(std::move(publicKey))
    , m_report(std::move(report))
    , m_folder(QDir::tempPath() + folderPattern)
    , m_file(m_folder.filePath(packageName))
{
    // Where it cannot be opened, keep() says so.
    (void)m_file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered);
    const auto finished = [this](std::optional<UpdateProblem> problem) {
        const Result result = problem ? Result(*problem) : accept();
        std::exchange(m_report.finished, {})(result); // may destroy this object
    };
    m_fetch = std::make_unique<UpdateFetch>(
        network, queue,
        UpdateFetch::Order{m_item.address, feed, m_item.length, UpdateProblem::WrongLength,
                           [this](const QByteArray &bytes) { return keep(bytes); }, finished});
}

UpdateDownload::~UpdateDownload() = default;

bool UpdateDownload::keep(const QByteArray &bytes)
{
    if (!m_file.isOpen())
        return false;
    // Unbuffered, so that a full disk shows here and not when nobody looks any more.
    for (qsizetype done = 0; done < bytes.size();) {
        const qint64 step = m_file.write(bytes.constData() + done, bytes.size() - done);
        if (step <= 0)
            return false;
        done += step;
    }
    if (m_report.progress)
        m_report.progress(static_cast<int>(m_file.pos() * 100 / m_item.length));
    return true;
}

UpdateDownload::Result UpdateDownload::accept()
{
    m_file.close();
    // What counts is what is on the disk, not what was meant to be written there.
    const auto package = Files::read(m_file.fileName());
    if (!package)
        return UpdateProblem::NoRoom;
    if (package->size() != m_item.length)
        return UpdateProblem::WrongLength;
    if (!isSigned(*package, m_item, m_publicKey))
        return UpdateProblem::BadSignature;
    return saveToDownloads(m_file.fileName(), fileName(m_item.address));
}

} // namespace Platform
