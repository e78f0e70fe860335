#pragma once

#include <QIcon>
#include <QObject>

#include <memory>

class QMenu;
class QSystemTrayIcon;

namespace Platform {

class StatusHosts;

/// The program's icon in the desktop's panel, with a menu. The icon is there for as long as the
/// object is, whenever the desktop has a place for it: a panel that starts late, or again, gets it
/// too. Without one nothing is seen and nothing runs. A click with the left or the right button
/// opens the menu.
///
/// A process keeps to the kind of host (StatusNotifier or X system tray) that it met first, because
/// Qt does; a host of the other kind alone does not get the icon before the next start.
///
/// Main thread only; needs the application. One at a time.
class StatusItem final : public QObject
{
public:
    /// `title` is the tool tip and names the icon to screen readers; a StatusNotifier host shows
    /// the application's name as well. `symbol` is one of Platform::Symbols. The menu stays the
    /// caller's, outlives the object and announces every opening by aboutToShow, in which it may be
    /// filled anew.
    StatusItem(const QString &title, const QString &symbol, QMenu &menu);
    /// The icon is gone at once.
    ~StatusItem() override;

    /// The icon of a symbol that can be told from any panel, light or dark.
    [[nodiscard]] static QIcon icon(const QString &symbol);

private:
    void adoptHosts();
    void openMenu();

    QString m_title;
    QIcon m_image;
    QMenu &m_menu;
    std::unique_ptr<StatusHosts> m_hosts;
    std::unique_ptr<QSystemTrayIcon> m_icon; ///< Empty while there is no host.
};

} // namespace Platform
