#pragma once

#include "KeyboardShortcuts/Shortcut.h"
#include "Platform/Core/Observable.h"
#include "Platform/Keyboard/HotKeys.h"

#include <map>
#include <vector>

namespace KeyboardShortcuts {

/// Registers shortcuts with the system and hands their presses on. While one of our own menus has
/// the keyboard no hot key can fire; then the registrations are withdrawn and the keys on their way
/// to the menu are watched instead. Owned by the module's state; main thread only.
class CarbonKeyboardShortcuts final
{
public:
    using Callback = std::function<void(const Shortcut &)>;
    enum class Mode {
        HotKeys,
        Menu,     ///< One of our menus is open.
        Disabled, ///< Nothing is registered and nothing watched.
    };

    /// `hotKeys` must outlive the object.
    explicit CarbonKeyboardShortcuts(Platform::HotKeys &hotKeys)
        : m_hotKeyService(hotKeys)
    {}
    ~CarbonKeyboardShortcuts();
    CarbonKeyboardShortcuts(const CarbonKeyboardShortcuts &) = delete;
    CarbonKeyboardShortcuts &operator=(const CarbonKeyboardShortcuts &) = delete;

    /// The combinations that the desktop keeps for itself; empty where that cannot be known. May
    /// take a moment (it asks another program on some desktops).
    [[nodiscard]] static std::vector<Shortcut> system();

    /// The hot key of a registered shortcut, or none.
    [[nodiscard]] std::optional<Platform::HotKeyId> hotKeyId(const Shortcut &shortcut) const;

    /// Whether the system would refuse the shortcut because somebody else has it. False where hot
    /// keys are not supported.
    [[nodiscard]] bool isTaken(const Shortcut &shortcut) const;
    /// A refusal is one line on standard output and leaves nothing to unregister.
    void registerShortcut(const Shortcut &shortcut, Callback onKeyDown, Callback onKeyUp);
    void unregisterShortcut(const Shortcut &shortcut);
    /// Does nothing before the first successful registration, except remember the mode.
    void updateEventHandler(Mode mode);

private:
    struct HotKey
    {
        Shortcut shortcut;
        bool isRegistered = false; ///< With the system; false while withdrawn.
        Callback onKeyDown;
        Callback onKeyUp;
    };

    [[nodiscard]] bool registerWithSystem(const Shortcut &shortcut, std::uint32_t id);
    void softRegisterAll();
    void withdrawAll();
    void handleHotKeyEvent(const Platform::HotKeyEvent &event);
    [[nodiscard]] bool handleRawKeyEvent(const Platform::KeyEvent &event);

    Platform::HotKeys &m_hotKeyService;
    std::map<std::uint32_t, HotKey> m_hotKeys; ///< By id.
    std::uint32_t m_hotKeyId = 0;              ///< The last one handed out; never reused.
    bool m_hasEventHandler = false;
    Mode m_mode = Mode::HotKeys;
    Platform::Subscription m_hotKeyEvents;
    Platform::Subscription m_keyEventMonitor;
};

} // namespace KeyboardShortcuts
