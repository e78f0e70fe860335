#include "Platform/Keyboard/HotKeysBackends.h"

#include "Platform/Core/UserTime.h"
#include "Platform/Core/X11Events.h"
#include "Platform/Keyboard/KeyboardLayout.h"

#include <QGuiApplication>
#include <QLoggingCategory>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>
#include <xkbcommon/xkbcommon-keysyms.h>

#include <algorithm>
#include <cstdlib>
#include <map>

namespace Platform {

namespace {

Q_LOGGING_CATEGORY(grabLog, "brevio.hotkeys.x11", QtWarningMsg)

struct Freed
{
    void operator()(void *memory) const { std::free(memory); }
};
template <class Reply>
using Owned = std::unique_ptr<Reply, Freed>;

constexpr std::uint16_t matchedModifiers =
    XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_4;
constexpr int modifierCount = 8;

struct ModifierRow
{
    ModifierFlags flag;
    std::uint16_t mask;
};
constexpr ModifierRow modifierRows[] = {
    {Modifier::Shift, XCB_MOD_MASK_SHIFT},
    {Modifier::Command, XCB_MOD_MASK_CONTROL},
    {Modifier::Option, XCB_MOD_MASK_1},
    {Modifier::Control, XCB_MOD_MASK_4},
};

struct Combination
{
    xcb_keycode_t keycode = 0;
    std::uint16_t modifiers = 0;
    friend bool operator==(const Combination &, const Combination &) = default;
};

std::optional<Combination> combinationOf(std::uint32_t keyCode, ModifierFlags flags)
{
    const auto evdev = evdevOfKeyCode(static_cast<int>(keyCode));
    if (!evdev || *evdev + xKeycodeOffset > 0xFF)
        return std::nullopt;
    Combination result{static_cast<xcb_keycode_t>(*evdev + xKeycodeOffset), 0};
    for (const auto &row : modifierRows) {
        if ((flags & row.flag) != 0) {
            result.modifiers |= row.mask;
            flags &= ~row.flag;
        }
    }
    return flags == 0 ? std::optional(result) : std::nullopt;
}

/// Passive grabs on the root windows, over Qt's own connection: while one of our windows has the
/// keyboard, the grabs still take the press and the release from it.
class X11HotKeys final : public HotKeys
{
public:
    X11HotKeys(KeyboardLayout &layout, xcb_connection_t *connection)
        : m_connection(connection)
    {
        for (auto each = xcb_setup_roots_iterator(xcb_get_setup(connection)); each.rem > 0;
             xcb_screen_next(&each))
            m_roots.push_back(each.data->root);
        m_lockMasks = readLockMasks();
        m_layoutChange = layout.onChange([this] { adoptLayout(); });
        m_xEvents = onX11Event([this](const X11Event &event) {
            // One that a client sent is no key.
            if (!event.isSent && event.kind == XCB_KEY_PRESS)
                keyPressed(event.as<xcb_key_press_event_t>());
            else if (!event.isSent && event.kind == XCB_KEY_RELEASE)
                keyReleased(event.as<xcb_key_release_event_t>());
            // Qt has no use for what the root gets, yet reads the time from it.
            return X11Verdict::Pass;
        });
    }

    ~X11HotKeys() override
    {
        for (const auto &[id, combination] : m_hotKeys)
            ungrab(combination);
    }

    bool isSupported() const override { return true; }

    Status registerHotKey(HotKeyId id, std::uint32_t keyCode, ModifierFlags modifiers) override
    {
        unregisterHotKey(id);
        const auto combination = combinationOf(keyCode, modifiers);
        if (!combination)
            return noSuchKey;
        const auto status = isGrabbed(*combination) ? success : grab(*combination);
        if (status == success)
            m_hotKeys.emplace(id, *combination);
        return status;
    }

    void unregisterHotKey(HotKeyId id) override
    {
        const auto found = m_hotKeys.extract(id);
        // Ending the grab would end it for another id on the same keys too.
        if (!found.empty() && !isGrabbed(found.mapped()))
            ungrab(found.mapped());
    }

private:
    [[nodiscard]] bool isRoot(xcb_window_t window) const
    {
        return std::find(m_roots.begin(), m_roots.end(), window) != m_roots.end();
    }

    [[nodiscard]] bool isGrabbed(const Combination &combination) const
    {
        return std::any_of(m_hotKeys.begin(), m_hotKeys.end(),
                           [&](const auto &each) { return each.second == combination; });
    }

    /// One grab each for every state of the lock keys, which a grab would take for modifiers.
    Status grab(const Combination &combination)
    {
        std::vector<xcb_void_cookie_t> cookies;
        for (const auto root : m_roots) {
            for (const auto lock : m_lockMasks) {
                // Owner events would send the release to our focused window instead of the root.
                cookies.push_back(xcb_grab_key_checked(
                    m_connection, 0, root, combination.modifiers | lock, combination.keycode,
                    XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
            }
        }
        Status status = success;
        for (const auto cookie : cookies) {
            if (const Owned<xcb_generic_error_t> error{xcb_request_check(m_connection, cookie)})
                status = error->error_code;
        }
        if (status != success) {
            qCInfo(grabLog, "Key %u with modifiers 0x%x: X error %d", combination.keycode,
                   combination.modifiers, status);
            ungrab(combination);
        }
        return status;
    }

    void ungrab(const Combination &combination)
    {
        for (const auto root : m_roots) {
            for (const auto lock : m_lockMasks)
                xcb_ungrab_key(m_connection, combination.keycode, root,
                               combination.modifiers | lock);
        }
        xcb_flush(m_connection);
    }

    [[nodiscard]] std::vector<std::uint16_t> readLockMasks() const
    {
        const std::uint16_t numLock = numLockMask();
        std::vector<std::uint16_t> masks{0, XCB_MOD_MASK_LOCK};
        if (numLock != 0 && numLock != XCB_MOD_MASK_LOCK) {
            masks.push_back(numLock);
            masks.push_back(numLock | XCB_MOD_MASK_LOCK);
        }
        return masks;
    }

    /// The modifier bit that Num Lock has been given; 0 when it has none.
    [[nodiscard]] std::uint16_t numLockMask() const
    {
        const std::unique_ptr<xcb_key_symbols_t, decltype(&xcb_key_symbols_free)> symbols(
            xcb_key_symbols_alloc(m_connection), xcb_key_symbols_free);
        const Owned<xcb_keycode_t> numLockKeys(
            symbols ? xcb_key_symbols_get_keycode(symbols.get(), XKB_KEY_Num_Lock) : nullptr);
        const Owned<xcb_get_modifier_mapping_reply_t> mapping(xcb_get_modifier_mapping_reply(
            m_connection, xcb_get_modifier_mapping(m_connection), nullptr));
        if (!numLockKeys || !mapping)
            return 0;
        const auto *keys = xcb_get_modifier_mapping_keycodes(mapping.get());
        const int width = mapping->keycodes_per_modifier;
        for (int place = 0; place < modifierCount * width; ++place) {
            for (const auto *key = numLockKeys.get(); *key != XCB_NO_SYMBOL; ++key) {
                if (keys[place] == *key)
                    return static_cast<std::uint16_t>(1U << (place / width));
            }
        }
        return 0;
    }

    /// Grabs are on physical keys, so of a new layout only the place of Num Lock matters.
    void adoptLayout()
    {
        auto masks = readLockMasks();
        if (masks == m_lockMasks)
            return;
        for (const auto &[id, combination] : m_hotKeys)
            ungrab(combination);
        m_lockMasks = std::move(masks);
        for (const auto &[id, combination] : m_hotKeys)
            (void)grab(combination); // taken meanwhile: logged, and tried again at the next change
    }

    void keyPressed(const xcb_key_press_event_t &event)
    {
        // The server repeats a held key as a release and a press of the same moment.
        if (!isRoot(event.event) || (event.detail == m_latestKey && event.time == m_releaseTime))
            return;
        const Combination combination{event.detail,
                                      static_cast<std::uint16_t>(event.state & matchedModifiers)};
        std::vector<HotKeyId> pressed;
        for (const auto &[id, each] : m_hotKeys) {
            if (each == combination)
                pressed.push_back(id);
        }
        if (pressed.empty())
            return;
        announceRelease();
        m_latestKey = event.detail;
        m_releaseTime = XCB_CURRENT_TIME;
        m_held = pressed;
        UserTime::note(event.time);
        for (const auto id : pressed)
            announce({id, HotKeyEvent::Kind::Pressed});
    }

    void keyReleased(const xcb_key_release_event_t &event)
    {
        if (!isRoot(event.event))
            return;
        // A combination that is registered while it is held, as one just recorded is, goes on
        // repeating: first comes a release whose press was somebody else's.
        if (m_held.empty())
            m_latestKey = event.detail;
        // The modifiers may have come up first, so the key alone tells.
        if (event.detail != m_latestKey)
            return;
        m_releaseTime = event.time;
        // The press of a repetition may still be on its way, so the keyboard itself is asked.
        if (!isDown(event.detail))
            announceRelease();
    }

    [[nodiscard]] bool isDown(xcb_keycode_t key) const
    {
        const Owned<xcb_query_keymap_reply_t> state(
            xcb_query_keymap_reply(m_connection, xcb_query_keymap(m_connection), nullptr));
        return state && (state->keys[key / 8] & (1U << (key % 8))) != 0;
    }

    void announceRelease()
    {
        for (const auto id : std::exchange(m_held, {})) {
            if (m_hotKeys.contains(id))
                announce({id, HotKeyEvent::Kind::Released});
        }
    }

    xcb_connection_t *m_connection;
    std::vector<xcb_window_t> m_roots;
    std::vector<std::uint16_t> m_lockMasks;
    std::map<HotKeyId, Combination> m_hotKeys;
    Subscription m_layoutChange;

    xcb_keycode_t m_latestKey = 0;
    xcb_timestamp_t m_releaseTime = XCB_CURRENT_TIME; ///< When that key came up, or seemed to.
    std::vector<HotKeyId> m_held;                     ///< Whose release is still owed.
    Subscription m_xEvents;
};

} // namespace

std::unique_ptr<HotKeys> createX11HotKeys(KeyboardLayout &layout)
{
    auto *x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->connection())
        return nullptr;
    return std::make_unique<X11HotKeys>(layout, x11->connection());
}

} // namespace Platform
