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

/// What a desktop that decides about shortcuts itself calls the program's.
struct HotKeyLabel
{
    QString applicationId; ///< Names the installed desktop file, without its ".desktop".
    QString name;          ///< What the desktop remembers it by; the same in every run.
    QString description;   ///< For the user, translated.
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

    /// False when no hot key will be pressed because nothing here can serve any. Where the desktop
    /// decides, it is also false until the desktop has said that it can; onTriggerChange tells.
    [[nodiscard]] virtual bool isSupported() const = 0;

    /// Registers the key with exactly these modifiers (Shift, Control, Option, Command). An id that
    /// is in use is unregistered first. On failure nothing is registered.
    [[nodiscard]] virtual Status registerHotKey(HotKeyId id, std::uint32_t keyCode,
                                                ModifierFlags modifiers) = 0;
    /// Does nothing for an unknown id.
    virtual void unregisterHotKey(HotKeyId id) = 0;

    /// Whether the keys are the desktop's to choose. Then those of a registration are no more than
    /// a proposal, registering succeeds before the desktop was asked, and all ids are pressed by
    /// the one combination that the desktop has for the program.
    [[nodiscard]] virtual bool isDecidedByDesktop() const { return false; }
    /// What the desktop calls the keys that it has chosen, to be shown as it is. Empty where it
    /// does not decide, has bound nothing, or does not say.
    [[nodiscard]] virtual QString triggerDescription(HotKeyId) const { return {}; }
    /// Whether configure() does anything.
    [[nodiscard]] virtual bool canConfigure() const { return false; }
    /// Lets the user choose the keys in the desktop's own way; asks again after a refusal.
    virtual void configure() {}
    /// Called after any of the four, or isSupported(), may answer otherwise than before.
    [[nodiscard]] Subscription onTriggerChange(std::function<void()> callback)
    {
        return m_triggerChanges.subscribe(std::move(callback));
    }

    [[nodiscard]] Subscription onEvent(std::function<void(const HotKeyEvent &)> callback)
    {
        return m_events.subscribe(std::move(callback));
    }

    /// The backend of this session: X grabs on an X11 session; on a Wayland session, where a grab
    /// succeeds and yet fires only over XWayland's windows, the desktop portal; else one that
    /// supports nothing. `layout` must outlive the object.
    [[nodiscard]] static std::unique_ptr<HotKeys> create(KeyboardLayout &layout,
                                                         const HotKeyLabel &label);

protected:
    void announce(const HotKeyEvent &event) { m_events.announce(event); }
    void announceTriggerChange() { m_triggerChanges.announce(); }

private:
    Announcer<> m_triggerChanges;
    Announcer<const HotKeyEvent &> m_events;
};

} // namespace Platform
