#pragma once

#include "Platform/Core/Observable.h"

#include <QObject>

#include <cstdint>
#include <optional>

namespace Platform {

struct X11Event;

/// Whether the desktop has a place for status items: a StatusNotifier watcher that a panel has
/// joined, or an X system tray. Told by the bus and the X server; asks nobody again and again, and
/// waits for no answer of theirs. Needs the application. Main thread only.
class StatusHosts final : public QObject
{
    Q_OBJECT

public:
    StatusHosts();

    /// False until the bus has answered.
    [[nodiscard]] bool isAny() const;

Q_SIGNALS:
    /// On a later turn of the event loop, after a host came, went or was replaced by another.
    void changed();

private Q_SLOTS:
    void askWatcher();

private:
    void noticeTray(const X11Event &event);
    void watchBus();
    void setNotifier(bool isThere);
    void findTray();
    void announceLater();

    std::optional<bool> m_hasNotifier; ///< Empty while the bus has not answered yet.
    std::uint32_t m_tray = 0;          ///< The tray's window; none where there is no tray or no X.
    Subscription m_question;           ///< The latest to the watcher.
    bool m_isAnnouncing = false;
    Subscription m_xEvents;
};

} // namespace Platform
