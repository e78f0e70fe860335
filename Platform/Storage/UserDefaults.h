#pragma once

#include "Platform/Core/MainQueue.h"

#include <QJsonObject>
#include <QString>

namespace Platform {

/// The program's small persistent values by key, each with its type: boolean, number, string,
/// dictionary. Kept as one JSON object in a private file. A change is readable at once and reaches
/// the file on the next turn of the event loop, changes in quick succession (a window being
/// dragged) at most four times a second; flush() writes what is pending. A file that cannot be
/// read does not stop anything: it is set aside under a dated name before the first write.
/// Failures to write are silent; the next change tries again. Main thread only.
class UserDefaults final
{
public:
    /// Reads the file at `path`, which need not exist. `queue` must outlive the object.
    UserDefaults(QString path, MainQueue &queue);
    ~UserDefaults();
    UserDefaults(const UserDefaults &) = delete;
    UserDefaults &operator=(const UserDefaults &) = delete;

    /// The value under the key; undefined when there is none.
    [[nodiscard]] QJsonValue object(const QString &key) const;
    [[nodiscard]] bool contains(const QString &key) const;
    void set(const QString &key, const QJsonValue &value);
    void remove(const QString &key);

    /// Writes what is pending, now.
    void flush();

    /// The user's own, at $XDG_CONFIG_HOME/Brevio/defaults.json. Lives as long as the process.
    static UserDefaults &standard();

private:
    void scheduleFlush();

    QString m_path;
    MainQueue &m_queue;
    QJsonObject m_values;
    bool m_setAsideFirst = false;
    bool m_dirty = false;
    MainQueue::Moment m_lastFlush{};
    MainQueue::Pending m_pendingFlush;
};

} // namespace Platform
