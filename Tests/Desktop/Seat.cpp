#include "Tests/Desktop/Seat.h"

#include <QHash>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>
#include <xcb/xtest.h>
#include <xkbcommon/xkbcommon.h>

namespace {

constexpr std::uint32_t longestProperty = 1U << 20;
constexpr int dragSteps = 8;
/// Milliseconds before each key. A press at the very moment of a release looks like a repetition.
constexpr std::uint32_t betweenKeys = 2;

struct FreeReply
{
    void operator()(void *reply) const { std::free(reply); }
};

/// The reply, or null; errors are dropped, because windows come and go while a test looks.
#define REPLY(name, connection, ...)                                                               \
    std::unique_ptr<name##_reply_t, FreeReply>(                                                    \
        name##_reply(connection, name(connection __VA_OPT__(, ) __VA_ARGS__), nullptr))

const QHash<QByteArray, const char *> modifierKeys = {
    {"ctrl", "Control_L"}, {"shift", "Shift_L"}, {"alt", "Alt_L"}};

std::uint16_t modifiersOf(const QByteArray &chord)
{
    return static_cast<std::uint16_t>((chord.contains("ctrl+") ? XCB_MOD_MASK_CONTROL : 0) |
                                      (chord.contains("shift+") ? XCB_MOD_MASK_SHIFT : 0) |
                                      (chord.contains("alt+") ? XCB_MOD_MASK_1 : 0));
}

} // namespace

Seat::Seat(const QByteArray &display)
    : m_connection(xcb_connect(display.constData(), nullptr))
{
    if (xcb_connection_has_error(m_connection) != 0)
        return;
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    // On a machine that stands still between a press and its release the key would repeat.
    const std::uint32_t never = XCB_AUTO_REPEAT_MODE_OFF;
    xcb_change_keyboard_control(m_connection, XCB_KB_AUTO_REPEAT_MODE, &never);
    flush();
}

Seat::~Seat()
{
    xcb_disconnect(m_connection);
}

Seat::Keys Seat::keysFor(std::uint32_t symbol) const
{
    // Read anew each time: a test may change the layout.
    const auto *setup = xcb_get_setup(m_connection);
    const auto first = setup->min_keycode;
    const auto reply = REPLY(xcb_get_keyboard_mapping, m_connection, first,
                             static_cast<std::uint8_t>(setup->max_keycode - first + 1));
    if (!reply)
        return {};
    const auto *symbols = xcb_get_keyboard_mapping_keysyms(reply.get());
    const int count = xcb_get_keyboard_mapping_keysyms_length(reply.get());
    const int columns = reply->keysyms_per_keycode;
    for (const int column : {0, 1}) {
        for (int at = column; at < count; at += columns) {
            if (symbols[at] != symbol)
                continue;
            Keys keys = column == 0 ? Keys() : keysFor(XKB_KEY_Shift_L);
            keys.push_back(static_cast<std::uint8_t>(first + at / columns));
            return keys;
        }
    }
    return {};
}

Seat::Keys Seat::keysOf(const char *chord) const
{
    Keys keys;
    for (const auto &part : QByteArray(chord).split('+')) {
        const auto found = keysFor(
            xkb_keysym_from_name(modifierKeys.value(part, part.constData()), XKB_KEYSYM_NO_FLAGS));
        if (found.empty())
            return {};
        keys.push_back(found.back());
    }
    return keys;
}

bool Seat::press(const std::vector<Keys> &chords)
{
    bool isPressed = true;
    for (const auto &keys : chords) {
        isPressed &= fakeKeys(XCB_KEY_PRESS, keys, betweenKeys);
        fakeKeys(XCB_KEY_RELEASE, keys);
    }
    flush();
    return isPressed;
}

bool Seat::press(const char *chords)
{
    std::vector<Keys> all;
    for (const auto &chord : QByteArray(chords).split(' '))
        all.push_back(keysOf(chord));
    return press(all);
}

bool Seat::type(const QString &text)
{
    std::vector<Keys> all;
    for (const auto character : text.toUcs4())
        all.push_back(keysFor(xkb_utf32_to_keysym(character)));
    return press(all);
}

bool Seat::keyDown(const char *chord)
{
    const bool isPressed = fakeKeys(XCB_KEY_PRESS, keysOf(chord));
    flush();
    return isPressed;
}

void Seat::keyUp(const char *chord)
{
    fakeKeys(XCB_KEY_RELEASE, keysOf(chord));
    flush();
}

bool Seat::take(const char *chord)
{
    const auto keys = keysOf(chord);
    if (keys.empty())
        return false;
    const std::unique_ptr<xcb_generic_error_t, FreeReply> error(xcb_request_check(
        m_connection, xcb_grab_key_checked(m_connection, 0, m_root, modifiersOf(chord), keys.back(),
                                           XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC)));
    return !error;
}

bool Seat::isTaken(const char *chord)
{
    const auto keys = keysOf(chord);
    if (keys.empty())
        return false;
    xcb_grab_server(m_connection);
    const bool isFree = take(chord);
    if (isFree)
        xcb_ungrab_key(m_connection, keys.back(), m_root, modifiersOf(chord));
    xcb_ungrab_server(m_connection);
    flush();
    return !isFree;
}

void Seat::fake(std::uint8_t type, std::uint8_t detail, QPoint position, std::uint32_t delay)
{
    xcb_test_fake_input(m_connection, type, detail, delay, m_root,
                        static_cast<std::int16_t>(position.x()),
                        static_cast<std::int16_t>(position.y()), 0);
}

bool Seat::fakeKeys(std::uint8_t type, Keys keys, std::uint32_t delay)
{
    if (type == XCB_KEY_RELEASE)
        std::reverse(keys.begin(), keys.end());
    for (const auto key : keys)
        fake(type, key, {}, delay);
    return !keys.empty();
}

void Seat::flush()
{
    xcb_flush(m_connection);
}

void Seat::moveMouse(QPoint position)
{
    fake(XCB_MOTION_NOTIFY, 0, position);
    flush();
}

void Seat::click(QPoint position, int button)
{
    moveMouse(position);
    fake(XCB_BUTTON_PRESS, static_cast<std::uint8_t>(button));
    fake(XCB_BUTTON_RELEASE, static_cast<std::uint8_t>(button));
    flush();
}

void Seat::drag(QPoint from, QPoint to)
{
    moveMouse(from);
    fake(XCB_BUTTON_PRESS, 1);
    for (int step = 1; step <= dragSteps; ++step)
        fake(XCB_MOTION_NOTIFY, 0, from + (to - from) * step / dragSteps);
    fake(XCB_BUTTON_RELEASE, 1);
    flush();
}

std::uint32_t Seat::atom(const char *name) const
{
    const auto reply =
        REPLY(xcb_intern_atom, m_connection, 0, static_cast<std::uint16_t>(qstrlen(name)), name);
    return reply ? reply->atom : 0;
}

QByteArray Seat::text(Window window, const char *property) const
{
    const auto reply = REPLY(xcb_get_property, m_connection, 0, window, atom(property),
                             XCB_GET_PROPERTY_TYPE_ANY, 0, longestProperty);
    if (!reply)
        return {};
    return {static_cast<const char *>(xcb_get_property_value(reply.get())),
            xcb_get_property_value_length(reply.get())};
}

std::vector<std::uint32_t> Seat::property(Window window, const char *name) const
{
    const auto bytes = text(window, name);
    std::vector<std::uint32_t> values(static_cast<std::size_t>(bytes.size()) /
                                      sizeof(std::uint32_t));
    std::copy_n(bytes.constData(), values.size() * sizeof(std::uint32_t),
                reinterpret_cast<char *>(values.data()));
    return values;
}

Seat::Window Seat::focus() const
{
    const auto reply = REPLY(xcb_get_input_focus, m_connection);
    return reply ? reply->focus : 0;
}

std::vector<Seat::Window> Seat::children(Window window) const
{
    const auto reply = REPLY(xcb_query_tree, m_connection, window);
    if (!reply)
        return {};
    const auto *list = xcb_query_tree_children(reply.get());
    return {list, list + xcb_query_tree_children_length(reply.get())};
}

Seat::Window Seat::find(const QString &title) const
{
    const auto name = title.toUtf8();
    std::vector<Window> open = children(m_root);
    while (!open.empty()) {
        const Window window = open.back();
        open.pop_back();
        if (text(window, "_NET_WM_NAME") == name && isVisible(window))
            return window;
        const auto inner = children(window);
        open.insert(open.end(), inner.begin(), inner.end());
    }
    return 0;
}

bool Seat::isVisible(Window window) const
{
    const auto reply = REPLY(xcb_get_window_attributes, m_connection, window);
    return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE &&
           reply->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT;
}

QRect Seat::geometry(Window window) const
{
    const auto size = REPLY(xcb_get_geometry, m_connection, window);
    const auto corner = REPLY(xcb_translate_coordinates, m_connection, window, m_root, 0, 0);
    if (!size || !corner)
        return {};
    return {corner->dst_x, corner->dst_y, size->width, size->height};
}

bool Seat::hasProperty(Window window, const char *name, const QByteArray &value) const
{
    return std::ranges::count(property(window, name), atom(value.constData())) != 0;
}

Seat::Window Seat::selectionOwner(const char *name) const
{
    const auto reply = REPLY(xcb_get_selection_owner, m_connection, atom(name));
    return reply ? reply->owner : 0;
}

QImage Seat::picture(QRect part) const
{
    const auto reply = REPLY(
        xcb_get_image, m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_root,
        static_cast<std::int16_t>(part.x()), static_cast<std::int16_t>(part.y()),
        static_cast<std::uint16_t>(part.width()), static_cast<std::uint16_t>(part.height()), ~0U);
    if (!reply)
        return {};
    return QImage(xcb_get_image_data(reply.get()), part.width(), part.height(),
                  QImage::Format_RGB32)
        .copy();
}

QColor Seat::pixel(QPoint position) const
{
    const auto image = picture(QRect(position, QSize(1, 1)));
    return image.isNull() ? QColor() : image.pixelColor(0, 0);
}
