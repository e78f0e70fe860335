#include "Brevio/Settings.h"

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

void Settings::save()
{
    m_defaults.set(showInMenuBarKey, showInMenuBar.get());
    m_defaults.set(startAtLoginKey, startAtLogin.get());
}

} // namespace Brevio
