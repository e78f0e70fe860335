#include "Platform/Desktop/DesktopEntry.h"
#include "Platform/Desktop/LoginItem.h"
#include "Platform/Storage/Files.h"
#include "Platform/Storage/Folders.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QStandardPaths>

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

namespace Platform {

namespace {

Q_LOGGING_CATEGORY(loginItemLog, "brevio.loginitem", QtCriticalMsg)

const QString entriesFolder = QStringLiteral("/autostart");
const QString defaultSystemFolders = QStringLiteral("/etc/xdg");

const QByteArray hiddenKey = QByteArrayLiteral("Hidden");
const QByteArray execKey = QByteArrayLiteral("Exec");
const QByteArray tryExecKey = QByteArrayLiteral("TryExec");
const QByteArray onlyShowInKey = QByteArrayLiteral("OnlyShowIn");
const QByteArray notShowInKey = QByteArrayLiteral("NotShowIn");
/// How GNOME and MATE switch an entry off; each knows the other's.
const QByteArray sessionKeys[] = {QByteArrayLiteral("X-GNOME-Autostart-enabled"),
                                  QByteArrayLiteral("X-MATE-Autostart-enabled")};

/// Whether a program, by its path or by its name, can be run.
bool isThere(const QByteArray &program)
{
    return !program.isEmpty() &&
           !QStandardPaths::findExecutable(QFile::decodeName(program)).isEmpty();
}

bool isForThisDesktop(const DesktopEntry &entry)
{
    const auto desktops = qgetenv("XDG_CURRENT_DESKTOP").split(':');
    const auto names = [&](const QByteArray &key) {
        const auto list = entry.list(key);
        return std::any_of(list.begin(), list.end(),
                           [&](const QByteArray &name) { return desktops.contains(name); });
    };
    return !names(notShowInKey) && (!entry.raw(onlyShowInKey) || names(onlyShowInKey));
}

bool isSwitchedOff(const DesktopEntry &entry)
{
    return entry.isTrue(hiddenKey) || !isForThisDesktop(entry) ||
           std::any_of(std::begin(sessionKeys), std::end(sessionKeys),
                       [&](const QByteArray &key) { return entry.isFalse(key); });
}

bool hasProgram(const DesktopEntry &entry)
{
    return isThere(entry.program()) &&
           (!entry.raw(tryExecKey) || isThere(entry.string(tryExecKey)));
}

std::optional<DesktopEntry> readEntry(const QString &path)
{
    const auto bytes = Files::read(path);
    return bytes ? DesktopEntry::parse(*bytes) : std::nullopt;
}

/// Whether the folder can be written, or could be once it was made.
bool isWritable(const QString &folder)
{
    const QFileInfo info(folder);
    if (info.exists())
        return info.isDir() && info.isWritable();
    return info.dir().path() != folder && isWritable(info.dir().path());
}

class XdgLoginItem final : public LoginItem
{
public:
    explicit XdgLoginItem(Program program)
        : m_program(std::move(program))
    {}

    Status status() const override
    {
        if (!isThere(QFile::encodeName(m_program.executable)) || !isWritable(folder()))
            return Status::NotFound;
        // Of several files of this name only the most important counts, also when it is broken.
        const QString path = Files::exists(ownPath()) ? ownPath() : systemPath();
        const auto entry = path.isEmpty() ? std::nullopt : readEntry(path);
        if (!entry)
            return Status::NotRegistered;
        if (isSwitchedOff(*entry))
            return Status::RequiresApproval;
        return hasProgram(*entry) ? Status::Enabled : Status::NotRegistered;
    }

    bool registerItem(Origin origin) override
    {
        const Status before = status();
        if (before == Status::Enabled)
            return true;
        if (before == Status::NotFound ||
            (before == Status::RequiresApproval && origin == Origin::Launch)) {
            qCInfo(loginItemLog, "not registered: status %d", static_cast<int>(before));
            return false;
        }
        return write(enabled(readEntry(ownPath()).value_or(fresh())));
    }

    bool unregisterItem() override
    {
        if (status() != Status::Enabled)
            return true;
        if (systemPath().isEmpty())
            return Files::remove(ownPath());
        // Without ours the system's would count again.
        DesktopEntry mask = readEntry(ownPath()).value_or(fresh());
        mask.set(hiddenKey, QByteArrayLiteral("true"));
        return write(mask);
    }

private:
    static QString folder() { return Folders::configHome() + entriesFolder; }
    QString fileName() const { return u'/' + m_program.id + QStringLiteral(".desktop"); }
    QString ownPath() const { return folder() + fileName(); }

    /// The most important entry of the system's own; empty when there is none.
    QString systemPath() const
    {
        QString folders = qEnvironmentVariable("XDG_CONFIG_DIRS");
        if (folders.isEmpty())
            folders = defaultSystemFolders;
        for (const auto &base : folders.split(u':')) {
            const QString path = base + entriesFolder + fileName();
            if (QDir::isAbsolutePath(base) && Files::exists(path))
                return path;
        }
        return {};
    }

    DesktopEntry fresh() const
    {
        DesktopEntry entry = DesktopEntry::empty();
        entry.set(QByteArrayLiteral("Type"), QByteArrayLiteral("Application"));
        entry.set(QByteArrayLiteral("Name"), m_program.name.toUtf8());
        entry.set(QByteArrayLiteral("Icon"), m_program.id.toUtf8());
        return entry;
    }

    /// Changes only what keeps the session from starting the program.
    DesktopEntry enabled(DesktopEntry entry) const
    {
        const QByteArray executable = QFile::encodeName(m_program.executable);
        if (!hasProgram(entry)) {
            entry.set(execKey, DesktopEntry::quoted(executable));
            entry.set(tryExecKey, executable);
        }
        entry.set(hiddenKey, QByteArrayLiteral("false"));
        for (const auto &key : sessionKeys) {
            if (entry.isFalse(key))
                entry.set(key, QByteArrayLiteral("true"));
        }
        if (!isForThisDesktop(entry)) {
            entry.remove(onlyShowInKey);
            entry.remove(notShowInKey);
        }
        return entry;
    }

    bool write(const DesktopEntry &entry) const
    {
        return Files::makeFolder(folder()) && Files::replaceAtomically(ownPath(), entry.bytes());
    }

    Program m_program;
};

} // namespace

std::unique_ptr<LoginItem> LoginItem::create(const Program &program)
{
    return std::make_unique<XdgLoginItem>(program);
}

} // namespace Platform
