#pragma once

#include "Platform/Core/Observable.h"
#include "Platform/Keyboard/KeyEvent.h"

namespace Platform {

class KeyboardLayout;

/// Names one system-wide hot key. The signature is its owner's, four characters in one number.
struct HotKeyId
{
    std::uint32_t signature = 0;
    std::uint32_t id = 0;
    friend auto operator<=>(const HotKeyId &, const HotKeyId &) = default;
};

struct HotKeyEvent
{
    enum class Kind { Pressed, Released };
    HotKeyId id;
    Kind kind = Kind::Pressed;
};

/// Key combinations that reach the program whatever has the keyboard. A held key is pressed once
/// and released once. The server's time of a press is in UserTime before it is announced.
/// Registrations end with the object. Main thread only.
class HotKeys
{
public:
    /// Zero for success. Positive numbers are the backend's own (10 on X: the combination is
    /// taken), negative ones are below.
    using Status = std::int32_t;
    static constexpr Status success = 0;
    static constexpr Status notSupported = -1; ///< Nothing here can register hot keys.
    static constexpr Status noSuchKey = -2;    ///< No keyboard here can send the combination.

    virtual ~HotKeys() = default;

    /// False when every registration will fail because nothing here can serve any.
    [[nodiscard]] virtual bool isSupported() const = 0;

    /// Registers the key with exactly these modifiers (Shift, Control, Option, Command). An id that
    /// is in use is unregistered first. On failure nothing is registered.
    [[nodiscard]] virtual Status registerHotKey(HotKeyId id, std::uint32_t keyCode,
                                                ModifierFlags modifiers) = 0;
    /// Does nothing for an unknown id.
    virtual void unregisterHotKey(HotKeyId id) = 0;

    [[nodiscard]] Subscription onEvent(std::function<void(const HotKeyEvent &)> callback)
    {
        return m_events.subscribe(std::move(callback));
    }

    /// True where the desktop, asked by the program, decides which keys a hot key has, and may
    /// change them later. The combination of a registration is then no more than a wish.
    [[nodiscard]] virtual bool isDecidedByDesktop() const { return false; }
    /// The desktop's own words for what is bound to the hot key; empty when nothing is.
    [[nodiscard]] virtual QString triggerDescription(HotKeyId) const { return {}; }
    /// Whether configure() opens the desktop's dialog for the program's hot keys.
    [[nodiscard]] virtual bool canConfigure() const { return false; }
    virtual void configure() {}
    /// Called after each change of what the three questions above answer.
    [[nodiscard]] Subscription onTriggerChange(std::function<void()> callback)
    {
        return m_triggerChange.subscribe(std::move(callback));
    }

    /// The backend of this session: X grabs on an X11 session, else one that supports nothing (on a
    /// Wayland session a grab succeeds and yet fires only over XWayland's windows). `layout` must
    /// outlive the object.
    [[nodiscard]] static std::unique_ptr<HotKeys> create(KeyboardLayout &layout);

protected:
    void announce(const HotKeyEvent &event) { m_events.announce(event); }
    void announceTriggerChange() { m_triggerChange.announce(); }

private:
    Announcer<const HotKeyEvent &> m_events;
    Announcer<> m_triggerChange;
};

} // namespace Platform
