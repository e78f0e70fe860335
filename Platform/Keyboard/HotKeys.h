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

    /// The backend of this session: X grabs on an X11 session, else one that supports nothing (on a
    /// Wayland session a grab succeeds and yet fires only over XWayland's windows). `layout` must
    /// outlive the object.
    [[nodiscard]] static std::unique_ptr<HotKeys> create(KeyboardLayout &layout);

protected:
    void announce(const HotKeyEvent &event) { m_events.announce(event); }

private:
    Announcer<const HotKeyEvent &> m_events;
};

} // namespace Platform
