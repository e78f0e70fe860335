#include "Platform/Storage/UserDefaults.h"

#include "Platform/Core/Clock.h"
#include "Platform/Storage/Files.h"
#include "Platform/Storage/Folders.h"

#include <QFileInfo>
#include <QJsonDocument>

namespace Platform {

namespace {

/// How often a burst of changes reaches the file. Each write syncs the disk.
constexpr auto flushPeriod = std::chrono::milliseconds(250);

} // namespace

UserDefaults::UserDefaults(QString path, MainQueue &queue)
    : m_path(std::move(path))
    , m_queue(queue)
    , m_lastFlush(queue.now() - flushPeriod)
{
    if (!Files::exists(m_path))
        return;
    const auto bytes = Files::read(m_path);
    const auto document = bytes ? QJsonDocument::fromJson(*bytes) : QJsonDocument();
    m_setAsideFirst = !document.isObject();
    m_values = document.object();
}

UserDefaults::~UserDefaults()
{
    flush();
}

QJsonValue UserDefaults::object(const QString &key) const
{
    return m_values.value(key);
}

bool UserDefaults::contains(const QString &key) const
{
    return m_values.contains(key);
}

void UserDefaults::set(const QString &key, const QJsonValue &value)
{
    if (contains(key) && object(key) == value)
        return;
    m_values.insert(key, value);
    scheduleFlush();
}

void UserDefaults::remove(const QString &key)
{
    if (!contains(key))
        return;
    m_values.remove(key);
    scheduleFlush();
}

void UserDefaults::flush()
{
    m_pendingFlush.reset();
    if (!m_dirty)
        return;
    m_lastFlush = m_queue.now();
    (void)Files::makeFolder(QFileInfo(m_path).path()); // a failure shows in the write
    if (m_setAsideFirst) {
        if (Files::exists(m_path) && !Files::setAsideUnreadable(m_path, Clock::system().now()))
            return;
        m_setAsideFirst = false;
    }
    m_dirty = !Files::replaceAtomically(m_path, QJsonDocument(m_values).toJson());
}

void UserDefaults::scheduleFlush()
{
    m_dirty = true;
    if (m_pendingFlush)
        return;
    const auto wait = m_lastFlush + flushPeriod - m_queue.now();
    m_pendingFlush =
        m_queue.schedule(std::max(wait, MainQueue::Duration::zero()), [this] { flush(); });
}

UserDefaults &UserDefaults::standard()
{
    static UserDefaults defaults(Folders::configHome() + QStringLiteral("/Brevio/defaults.json"),
                                 MainQueue::main());
    return defaults;
}

} // namespace Platform
