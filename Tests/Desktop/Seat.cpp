#include "Tests/Desktop/Seat.h"

#include <QHash>

#include <algorithm>
#include <cstdlib>

#include <xcb/xcb.h>
#include <xcb/xfixes.h>
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

const QHash<QByteArray, std::uint16_t> modifierMasks = {
    {"ctrl", XCB_MOD_MASK_CONTROL}, {"shift", XCB_MOD_MASK_SHIFT}, {"alt", XCB_MOD_MASK_1}};

} // namespace

struct Seat::Connection
{
    explicit Connection(const QByteArray &display)
        : raw(xcb_connect(display.constData(), nullptr))
    {}
    ~Connection() { xcb_disconnect(raw); }
    xcb_connection_t *raw;
};

struct Seat::Key
{
    std::uint8_t code = 0;
    bool shifted = false;
};

Seat::Seat(const QByteArray &display)
    : m_connection(std::make_unique<Connection>(display))
{
    if (!isConnected())
        return;
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection->raw)).data->root;
    // On a machine that stands still between a press and its release the key would repeat.
    const std::uint32_t never = XCB_AUTO_REPEAT_MODE_OFF;
    xcb_change_keyboard_control(m_connection->raw, XCB_KB_AUTO_REPEAT_MODE, &never);
    flush();
}

Seat::~Seat() = default;

bool Seat::isConnected() const
{
    return xcb_connection_has_error(m_connection->raw) == 0;
}

Seat::Key Seat::keyFor(std::uint32_t symbol) const
{
    // Read anew each time: a test may change the layout.
    auto *c = m_connection->raw;
    const auto *setup = xcb_get_setup(c);
    const auto first = setup->min_keycode;
    const auto reply = REPLY(xcb_get_keyboard_mapping, c, first,
                             static_cast<std::uint8_t>(setup->max_keycode - first + 1));
    if (!reply)
        return {};
    const auto *symbols = xcb_get_keyboard_mapping_keysyms(reply.get());
    const int count = xcb_get_keyboard_mapping_keysyms_length(reply.get());
    const int columns = reply->keysyms_per_keycode;
    for (const int column : {0, 1}) {
        for (int at = column; at < count; at += columns) {
            if (symbols[at] == symbol)
                return {static_cast<std::uint8_t>(first + at / columns), column == 1};
        }
    }
    return {};
}

std::vector<std::uint8_t> Seat::keysOf(const char *chord) const
{
    std::vector<std::uint8_t> keys;
    for (const auto &part : QByteArray(chord).split('+')) {
        const auto symbol =
            xkb_keysym_from_name(modifierKeys.value(part, part.constData()), XKB_KEYSYM_NO_FLAGS);
        keys.push_back(keyFor(symbol).code);
    }
    if (std::find(keys.begin(), keys.end(), 0) != keys.end())
        keys.clear();
    return keys;
}

bool Seat::press(const char *chords)
{
    std::vector<std::vector<std::uint8_t>> all;
    for (const auto &chord : QByteArray(chords).split(' '))
        all.push_back(keysOf(chord));
    for (const auto &keys : all) {
        fakeAll(XCB_KEY_PRESS, keys, betweenKeys);
        fakeAll(XCB_KEY_RELEASE, {keys.rbegin(), keys.rend()});
    }
    flush();
    return std::none_of(all.begin(), all.end(), [](const auto &keys) { return keys.empty(); });
}

bool Seat::keyDown(const char *chord)
{
    const auto keys = keysOf(chord);
    fakeAll(XCB_KEY_PRESS, keys);
    flush();
    return !keys.empty();
}

bool Seat::keyUp(const char *chord)
{
    const auto keys = keysOf(chord);
    fakeAll(XCB_KEY_RELEASE, {keys.rbegin(), keys.rend()});
    flush();
    return !keys.empty();
}

bool Seat::type(const QString &text)
{
    const auto shift = keyFor(XKB_KEY_Shift_L).code;
    for (const auto character : text.toUcs4()) {
        const auto key =
            keyFor(character == U'\n' ? XKB_KEY_Return : xkb_utf32_to_keysym(character));
        if (key.code == 0)
            return false;
        if (key.shifted)
            fake(XCB_KEY_PRESS, shift);
        fake(XCB_KEY_PRESS, key.code, {}, betweenKeys);
        fake(XCB_KEY_RELEASE, key.code);
        if (key.shifted)
            fake(XCB_KEY_RELEASE, shift);
    }
    flush();
    return true;
}

std::uint16_t Seat::modifiersOf(const char *chord)
{
    std::uint16_t mask = 0;
    for (const auto &part : QByteArray(chord).split('+'))
        mask |= modifierMasks.value(part);
    return mask;
}

bool Seat::take(const char *chord)
{
    auto *c = m_connection->raw;
    const auto keys = keysOf(chord);
    if (keys.empty())
        return false;
    const std::unique_ptr<xcb_generic_error_t, FreeReply> error(
        xcb_request_check(c, xcb_grab_key_checked(c, 0, m_root, modifiersOf(chord), keys.back(),
                                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC)));
    return !error;
}

bool Seat::isTaken(const char *chord)
{
    auto *c = m_connection->raw;
    const auto keys = keysOf(chord);
    if (keys.empty())
        return false;
    xcb_grab_server(c);
    const bool isFree = take(chord);
    if (isFree)
        xcb_ungrab_key(c, keys.back(), m_root, modifiersOf(chord));
    xcb_ungrab_server(c);
    xcb_flush(c);
    return !isFree;
}

void Seat::fake(std::uint8_t type, std::uint8_t detail, QPoint position, std::uint32_t delay)
{
    xcb_test_fake_input(m_connection->raw, type, detail, delay, m_root,
                        static_cast<std::int16_t>(position.x()),
                        static_cast<std::int16_t>(position.y()), 0);
}

void Seat::fakeAll(std::uint8_t type, const std::vector<std::uint8_t> &keys, std::uint32_t delay)
{
    for (const auto key : keys)
        fake(type, key, {}, delay);
}

void Seat::flush()
{
    xcb_flush(m_connection->raw);
}

void Seat::moveMouse(QPoint position)
{
    fake(XCB_MOTION_NOTIFY, 0, position);
    flush();
}

void Seat::click(QPoint position, int button)
{
    fake(XCB_MOTION_NOTIFY, 0, position);
    fake(XCB_BUTTON_PRESS, static_cast<std::uint8_t>(button));
    fake(XCB_BUTTON_RELEASE, static_cast<std::uint8_t>(button));
    flush();
}

void Seat::drag(QPoint from, QPoint to)
{
    fake(XCB_MOTION_NOTIFY, 0, from);
    fake(XCB_BUTTON_PRESS, 1);
    for (int step = 1; step <= dragSteps; ++step)
        fake(XCB_MOTION_NOTIFY, 0, from + (to - from) * step / dragSteps);
    fake(XCB_BUTTON_RELEASE, 1);
    flush();
}

std::uint32_t Seat::atom(const char *name) const
{
    const auto reply = REPLY(xcb_intern_atom, m_connection->raw, 0,
                             static_cast<std::uint16_t>(qstrlen(name)), name);
    return reply ? reply->atom : 0;
}

QByteArray Seat::text(Window window, const char *property) const
{
    const auto reply = REPLY(xcb_get_property, m_connection->raw, 0, window, atom(property),
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
    const auto reply = REPLY(xcb_get_input_focus, m_connection->raw);
    return reply ? reply->focus : 0;
}

std::vector<Seat::Window> Seat::children(Window window) const
{
    const auto reply = REPLY(xcb_query_tree, m_connection->raw, window);
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
    const auto reply = REPLY(xcb_get_window_attributes, m_connection->raw, window);
    return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE &&
           reply->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT;
}

QRect Seat::geometry(Window window) const
{
    auto *c = m_connection->raw;
    const auto size = REPLY(xcb_get_geometry, c, window);
    const auto corner = REPLY(xcb_translate_coordinates, c, window, m_root, 0, 0);
    if (!size || !corner)
        return {};
    return {corner->dst_x, corner->dst_y, size->width, size->height};
}

QStringList Seat::states(Window window) const
{
    QStringList names;
    for (const auto state : property(window, "_NET_WM_STATE")) {
        const auto reply = REPLY(xcb_get_atom_name, m_connection->raw, state);
        if (reply)
            names.append(QString::fromLatin1(xcb_get_atom_name_name(reply.get()),
                                             xcb_get_atom_name_name_length(reply.get()))
                             .remove(QStringLiteral("_NET_WM_STATE_")));
    }
    names.sort();
    return names;
}

Seat::Window Seat::selectionOwner(const char *name) const
{
    const auto reply = REPLY(xcb_get_selection_owner, m_connection->raw, atom(name));
    return reply ? reply->owner : 0;
}

void Seat::setProperty(Window window, const char *name, const std::vector<std::uint32_t> &values)
{
    xcb_change_property(m_connection->raw, XCB_PROP_MODE_REPLACE, window, atom(name),
                        XCB_ATOM_CARDINAL, 32, static_cast<std::uint32_t>(values.size()),
                        values.data());
    xcb_flush(m_connection->raw);
}

QImage Seat::picture(QRect part) const
{
    const auto reply = REPLY(
        xcb_get_image, m_connection->raw, XCB_IMAGE_FORMAT_Z_PIXMAP, m_root,
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

QImage Seat::cursorImage() const
{
    auto *c = m_connection->raw;
    // The server answers no other question of this kind before this one.
    const auto version = REPLY(xcb_xfixes_query_version, c, XCB_XFIXES_MAJOR_VERSION, 0);
    const auto reply = REPLY(xcb_xfixes_get_cursor_image, c);
    if (!version || !reply)
        return {};
    const auto *pixels = xcb_xfixes_get_cursor_image_cursor_image(reply.get());
    QImage image = QImage(reinterpret_cast<const uchar *>(pixels), reply->width, reply->height,
                          QImage::Format_ARGB32_Premultiplied)
                       .copy();
    image.setOffset({reply->xhot, reply->yhot});
    return image;
}
