#include "Brevio/Preferences/Settings.h"

#include "Platform/Storage/UserDefaults.h"

namespace Brevio {

namespace {

const auto showInMenuBarKey = QStringLiteral("brevio.showInMenuBar");
const auto startAtLoginKey = QStringLiteral("brevio.startAtLogin");

} // namespace

Settings::Settings(Platform::UserDefaults &defaults)
    : m_defaults(defaults)
{
    showInMenuBar.set(defaults.object(showInMenuBarKey).toBool(showInMenuBar.get()));
    startAtLogin.set(defaults.object(startAtLoginKey).toBool(startAtLogin.get()));
}

Platform::Subscription Settings::onWillChange(const std::function<void()> &callback)
{
    using Both = std::pair<Platform::Subscription, Platform::Subscription>;
    return std::make_shared<Both>(showInMenuBar.onWillChange(callback),
                                  startAtLogin.onWillChange(callback));
}

void Settings::save()
{
    m_defaults.set(showInMenuBarKey, showInMenuBar.get());
    m_defaults.set(startAtLoginKey, startAtLogin.get());
}

void Settings::applyStartAtLogin(bool enabled, Platform::LoginItem &item,
                                 Platform::LoginItem::Origin origin)
{
    const bool isEnabled = item.status() == Platform::LoginItem::Status::Enabled;
    if (enabled == isEnabled)
        return;
    // The setting keeps what the user chose, whether or not the session agrees.
    (void)(enabled ? item.registerItem(origin) : item.unregisterItem());
}

} // namespace Brevio
