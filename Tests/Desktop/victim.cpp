// Somebody else's window: prints what is typed into it, may be a dock, may keep a key for itself.
// Arguments: title, "x y width height", "window" or "dock", grabbed chord or "".

#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QRasterWindow>
#include <QScreen>

#include <cstdio>

#include <xcb/xcb.h>
#include <xkbcommon/xkbcommon.h>

namespace {

xcb_connection_t *connection()
{
    return qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
}

xcb_atom_t atom(const char *name)
{
    auto *c = connection();
    auto *reply = xcb_intern_atom_reply(
        c, xcb_intern_atom(c, 0, static_cast<std::uint16_t>(qstrlen(name)), name), nullptr);
    const xcb_atom_t result = reply ? reply->atom : 0;
    std::free(reply);
    return result;
}

void setCardinals(WId window, const char *name, xcb_atom_t type, std::vector<std::uint32_t> values)
{
    xcb_change_property(connection(), XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(window),
                        atom(name), type, 32, static_cast<std::uint32_t>(values.size()),
                        values.data());
}

/// As a dock at the top of its monitor, reserving from the top of the desktop down.
void becomeDock(const QWindow &window)
{
    const QRect area = window.geometry();
    const auto number = [](int value) { return static_cast<std::uint32_t>(value); };
    setCardinals(window.winId(), "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM,
                 {atom("_NET_WM_WINDOW_TYPE_DOCK")});
    setCardinals(window.winId(), "_NET_WM_STRUT_PARTIAL", XCB_ATOM_CARDINAL,
                 {0, 0, number(area.bottom() + 1), 0, 0, 0, 0, 0, number(area.left()),
                  number(area.right()), 0, 0});
}

void grab(const QString &chord)
{
    const QHash<QString, int> masks = {{QStringLiteral("ctrl"), XCB_MOD_MASK_CONTROL},
                                       {QStringLiteral("shift"), XCB_MOD_MASK_SHIFT},
                                       {QStringLiteral("alt"), XCB_MOD_MASK_1},
                                       {QStringLiteral("super"), XCB_MOD_MASK_4}};
    auto *c = connection();
    int modifiers = 0;
    xkb_keysym_t wanted = 0;
    for (const auto &part : chord.split(u'+')) {
        modifiers |= masks.value(part);
        if (!masks.contains(part))
            wanted = xkb_keysym_from_name(part.toLatin1().constData(), XKB_KEYSYM_NO_FLAGS);
    }
    const auto *setup = xcb_get_setup(c);
    const int first = setup->min_keycode;
    auto *mapping = xcb_get_keyboard_mapping_reply(
        c,
        xcb_get_keyboard_mapping(c, setup->min_keycode,
                                 static_cast<std::uint8_t>(setup->max_keycode - first + 1)),
        nullptr);
    const auto *symbols = xcb_get_keyboard_mapping_keysyms(mapping);
    for (int i = 0; i < xcb_get_keyboard_mapping_keysyms_length(mapping);
         i += mapping->keysyms_per_keycode) {
        if (symbols[i] == wanted)
            xcb_grab_key(c, 0, xcb_setup_roots_iterator(setup).data->root,
                         static_cast<std::uint16_t>(modifiers),
                         static_cast<xcb_keycode_t>(first + i / mapping->keysyms_per_keycode),
                         XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    }
    std::free(mapping);
}

class VictimWindow final : public QRasterWindow
{
protected:
    void keyPressEvent(QKeyEvent *event) override
    {
        std::fputs(event->text().toUtf8().constData(), stdout);
        std::fflush(stdout);
    }
    void paintEvent(QPaintEvent *) override
    {
        QPainter(this).fillRect(QRect(QPoint(), size()), QColor(90, 130, 170));
    }
};

} // namespace

int main(int argc, char *argv[])
{
    QGuiApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() < 5)
        return 2;
    const QStringList area = arguments.at(2).split(u' ');

    VictimWindow window;
    window.setTitle(arguments.at(1));
    const bool isDock = arguments.at(3) == u"dock";
    if (isDock)
        window.setFlags(Qt::FramelessWindowHint);
    window.setGeometry(area.at(0).toInt(), area.at(1).toInt(), area.at(2).toInt(),
                       area.at(3).toInt());
    window.create();
    if (isDock)
        becomeDock(window);
    if (!arguments.at(4).isEmpty())
        grab(arguments.at(4));
    window.show();
    return application.exec();
}
