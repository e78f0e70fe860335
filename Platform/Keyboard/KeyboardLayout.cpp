#include "Platform/Keyboard/KeyboardLayout.h"

#include "Platform/Core/X11Events.h"
#include "Platform/Keyboard/KeyEvent.h"

#include <QGuiApplication>

// The header names a member with a C++ keyword.
#define explicit explicitValue
#include <xcb/xkb.h>
#undef explicit
#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon-x11.h>

#include <algorithm>
#include <array>

namespace Platform {

namespace {

template <auto release>
struct Releaser
{
    template <class Handle>
    void operator()(Handle *handle) const
    {
        release(handle);
    }
};
using Context = std::unique_ptr<xkb_context, Releaser<xkb_context_unref>>;
using Keymap = std::unique_ptr<xkb_keymap, Releaser<xkb_keymap_unref>>;
using State = std::unique_ptr<xkb_state, Releaser<xkb_state_unref>>;

/// The keys that carry the letters on a US keyboard, by kernel code: three runs of neighbours.
constexpr std::array<std::pair<xkb_keycode_t, xkb_keycode_t>, 3> letterRuns{
    {{16, 25}, {30, 38}, {44, 50}}};
/// A Latin layout may give up some of those places, as Dvorak's does; one of another script none.
constexpr int latinLettersNeeded = 13;

/// A dead key shows the accent that it would add.
constexpr std::array<std::pair<xkb_keysym_t, char32_t>, 9> deadKeys{{
    {XKB_KEY_dead_grave, U'`'},
    {XKB_KEY_dead_acute, U'´'},
    {XKB_KEY_dead_circumflex, U'^'},
    {XKB_KEY_dead_tilde, U'~'},
    {XKB_KEY_dead_diaeresis, U'¨'},
    {XKB_KEY_dead_cedilla, U'¸'},
    {XKB_KEY_dead_abovering, U'°'},
    {XKB_KEY_dead_caron, U'ˇ'},
    {XKB_KEY_dead_breve, U'˘'},
}};

char32_t symbolAt(xkb_keymap *keymap, xkb_layout_index_t layout, std::uint32_t evdevCode)
{
    const xkb_keysym_t *symbols = nullptr;
    if (xkb_keymap_key_get_syms_by_level(keymap, evdevCode + xKeycodeOffset, layout, 0, &symbols) !=
        1)
        return 0;
    const auto dead = std::find_if(deadKeys.begin(), deadKeys.end(),
                                   [&](const auto &each) { return each.first == *symbols; });
    return dead == deadKeys.end() ? xkb_keysym_to_utf32(*symbols) : dead->second;
}

bool isLatin(xkb_keymap *keymap, xkb_layout_index_t layout)
{
    int letters = 0;
    for (const auto &[first, last] : letterRuns) {
        for (auto code = first; code <= last; ++code) {
            const auto symbol = symbolAt(keymap, layout, code);
            letters += symbol >= U'a' && symbol <= U'z' ? 1 : 0;
        }
    }
    return letters >= latinLettersNeeded;
}

/// Asks xkbcommon, on the first question after each change and not before.
class XkbLayout final : public KeyboardLayout
{
public:
    XkbLayout(MainQueue &queue, xcb_connection_t *connection)
        : m_queue(queue)
        , m_connection(connection)
    {
        if (!m_connection)
            return;
        const auto *extension = xcb_get_extension_data(m_connection, &xcb_xkb_id);
        if (extension && extension->present)
            m_xkbEvent = extension->first_event;
        m_xEvents = onX11Event([this](const X11Event &event) {
            if (!event.isSent && changesLayout(event))
                scheduleAnnouncement();
            return X11Verdict::Pass;
        });
    }

    QString character(int keyCode) const override
    {
        const auto code = evdevOfKeyCode(keyCode);
        if (!code)
            return {};
        if (!m_keymap)
            readKeymap();
        const char32_t symbol = m_keymap ? symbolAt(m_keymap.get(), m_layout, *code) : 0;
        return symbol > U' ' && QChar::isPrint(symbol) ? QString::fromUcs4(&symbol, 1) : QString();
    }

private:
    bool changesLayout(const X11Event &event) const
    {
        if (event.kind != m_xkbEvent)
            return event.kind == XCB_MAPPING_NOTIFY;
        switch (event.as<xcb_generic_event_t>().pad0) { // the kind of XKB event
        case XCB_XKB_NEW_KEYBOARD_NOTIFY:
        case XCB_XKB_MAP_NOTIFY:
            return true;
        case XCB_XKB_STATE_NOTIFY: // comes with every modifier key as well
            return (event.as<xcb_xkb_state_notify_event_t>().changed &
                    XCB_XKB_STATE_PART_GROUP_STATE) != 0;
        default:
            return false;
        }
    }

    void scheduleAnnouncement()
    {
        m_keymap.reset();
        // One change arrives as several events.
        if (m_pending)
            return;
        m_pending = m_queue.schedule({}, [this] {
            m_pending.reset();
            announceChange();
        });
    }

    void readKeymap() const
    {
        const Context context(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
        if (!context)
            return;
        if (m_connection && readServerKeymap(context.get()))
            return;
        const xkb_rule_names us{nullptr, nullptr, "us", nullptr, nullptr};
        m_keymap.reset(xkb_keymap_new_from_names(context.get(), &us, XKB_KEYMAP_COMPILE_NO_FLAGS));
        m_layout = 0;
    }

    bool readServerKeymap(xkb_context *context) const
    {
        const auto device = xkb_x11_get_core_keyboard_device_id(m_connection);
        if (device < 0)
            return false;
        Keymap keymap(xkb_x11_keymap_new_from_device(context, m_connection, device,
                                                     XKB_KEYMAP_COMPILE_NO_FLAGS));
        if (!keymap)
            return false;
        const State state(xkb_x11_state_new_from_device(keymap.get(), m_connection, device));
        const auto layouts = xkb_keymap_num_layouts(keymap.get());
        const auto current =
            state ? xkb_state_serialize_layout(state.get(), XKB_STATE_LAYOUT_EFFECTIVE) : 0;
        for (xkb_layout_index_t step = 0; step < layouts; ++step) {
            const auto layout = (current + step) % layouts;
            if (isLatin(keymap.get(), layout)) {
                m_keymap = std::move(keymap);
                m_layout = layout;
                return true;
            }
        }
        return false;
    }

    MainQueue &m_queue;
    xcb_connection_t *m_connection;
    int m_xkbEvent = -1;
    mutable Keymap m_keymap; ///< Empty until asked for.
    mutable xkb_layout_index_t m_layout = 0;
    MainQueue::Pending m_pending;
    Subscription m_xEvents;
};

} // namespace

std::unique_ptr<KeyboardLayout> KeyboardLayout::create(MainQueue &queue)
{
    auto *x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
    return std::make_unique<XkbLayout>(queue, x11 ? x11->connection() : nullptr);
}

} // namespace Platform
