#include "Platform/Keyboard/HotKeys.h"

#include "Platform/Keyboard/HotKeysBackends.h"

#include <QGuiApplication>
#include <QLoggingCategory>
#include <QScreen>

#include <algorithm>

namespace Platform {

namespace {

Q_LOGGING_CATEGORY(hotKeysLog, "brevio.hotkeys", QtWarningMsg)

class NoHotKeys final : public HotKeys
{
public:
    bool isSupported() const override { return false; }
    Status registerHotKey(HotKeyId, std::uint32_t, ModifierFlags) override { return notSupported; }
    void unregisterHotKey(HotKeyId) override {}
};

/// XWayland names its outputs after itself, which tells it even where the environment does not.
bool isXWayland()
{
    const auto screens = QGuiApplication::screens();
    return std::any_of(screens.begin(), screens.end(), [](const QScreen *screen) {
        return screen->name().startsWith(QLatin1String("XWAYLAND"));
    });
}

bool isWaylandSession()
{
    const auto type = qgetenv("XDG_SESSION_TYPE");
    if (type == "wayland" || isXWayland())
        return true;
    return type != "x11" && !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

} // namespace

std::unique_ptr<HotKeys> HotKeys::create(KeyboardLayout &layout, const HotKeyLabel &label)
{
    if (isWaylandSession()) {
        if (auto portal = createPortalHotKeys(layout, label)) {
            qCInfo(hotKeysLog, "Hot keys are the desktop portal's");
            return portal;
        }
    } else if (auto x11 = createX11HotKeys(layout)) {
        qCInfo(hotKeysLog, "Hot keys are X grabs");
        return x11;
    }
    qCInfo(hotKeysLog, "Hot keys are not supported here");
    return std::make_unique<NoHotKeys>();
}

} // namespace Platform
