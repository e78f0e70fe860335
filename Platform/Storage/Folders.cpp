#include "Platform/Storage/Folders.h"

#include <QDir>
#include <QFile>

#include <pwd.h>
#include <unistd.h>

namespace Platform::Folders {

namespace {

QString absolute(const char *variable)
{
    const QString path = qEnvironmentVariable(variable);
    return QDir::isAbsolutePath(path) ? QDir::cleanPath(path) : QString();
}

QString folder(const char *variable, const QString &underHome)
{
    const QString path = absolute(variable);
    return path.isEmpty() ? QDir::cleanPath(home() + u'/' + underHome) : path;
}

} // namespace

QString home()
{
    if (const QString path = absolute("HOME"); !path.isEmpty())
        return path;
    // A service manager may start us without the variable.
    const passwd *entry = ::getpwuid(::getuid());
    return entry ? QDir::cleanPath(QFile::decodeName(entry->pw_dir)) : QStringLiteral("/");
}

QString configHome()
{
    return folder("XDG_CONFIG_HOME", QStringLiteral(".config"));
}

QString dataHome()
{
    return folder("XDG_DATA_HOME", QStringLiteral(".local/share"));
}

QString stateHome()
{
    return folder("XDG_STATE_HOME", QStringLiteral(".local/state"));
}

} // namespace Platform::Folders
