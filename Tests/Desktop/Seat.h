#pragma once

#include <QColor>
#include <QImage>
#include <QRect>
#include <QString>

#include <cstdint>
#include <vector>

struct xcb_connection_t;

/// The person in front of a virtual screen: presses keys, moves the mouse, looks at windows and
/// pixels. Coordinates are pixels from the top-left corner of the whole desktop.
class Seat final
{
public:
    using Window = std::uint32_t;

    /// Sits down at the display, such as ":7".
    explicit Seat(const QByteArray &display);
    ~Seat();
    Seat(const Seat &) = delete;
    Seat &operator=(const Seat &) = delete;

    // Keyboard. A chord is written like "ctrl+shift+space": ctrl, shift, alt, then
    // an X key name. False when the keyboard has no such key. Keys that are held do not repeat.
    /// Several with blanks between them. They are sent at once: a pause of the test is none for
    /// the keys.
    bool press(const char *chords);
    bool keyDown(const char *chord);
    void keyUp(const char *chord);
    /// Types characters that the keyboard has plain or with Shift.
    bool type(const QString &text);
    /// Keeps the chord for itself, like another program; false when one does already.
    bool take(const char *chord);
    /// Whether a program keeps the chord for itself. Nothing else happens on the server meanwhile.
    [[nodiscard]] bool isTaken(const char *chord);

    // Mouse. Buttons: 1 left, 2 middle, 3 right, 4 and 5 the wheel.
    void moveMouse(QPoint position);
    void click(QPoint position, int button = 1);
    /// With the left button, in a few steps.
    void drag(QPoint from, QPoint to);

    // Windows. 0 is none.
    /// The window that gets the keys, which also works without a window manager.
    [[nodiscard]] Window focus() const;
    /// The visible window with this title, wherever a window manager has put it.
    [[nodiscard]] Window find(const QString &title) const;
    [[nodiscard]] std::vector<Window> children(Window window) const;
    /// 0 when there is no such display.
    [[nodiscard]] Window root() const { return m_root; }
    [[nodiscard]] bool isVisible(Window window) const;
    /// Where the window is on the desktop, without decorations.
    [[nodiscard]] QRect geometry(Window window) const;
    [[nodiscard]] std::vector<std::uint32_t> property(Window window, const char *name) const;
    /// Whether the value is one of those that the property names: "_NET_WM_STATE" names
    /// "_NET_WM_STATE_ABOVE".
    [[nodiscard]] bool hasProperty(Window window, const char *name, const QByteArray &value) const;
    [[nodiscard]] QByteArray text(Window window, const char *property) const;
    [[nodiscard]] Window selectionOwner(const char *name) const;

    // Pixels.
    [[nodiscard]] QColor pixel(QPoint position) const;
    [[nodiscard]] QImage picture(QRect part) const;

private:
    using Keys = std::vector<std::uint8_t>;
    [[nodiscard]] std::uint32_t atom(const char *name) const;
    /// With Shift where the symbol needs it. Empty when the keyboard does not have it.
    [[nodiscard]] Keys keysFor(std::uint32_t symbol) const;
    [[nodiscard]] Keys keysOf(const char *chord) const;
    bool press(const std::vector<Keys> &chords);
    /// The server waits the delay out first, in milliseconds. Nothing is sent before a flush.
    void fake(std::uint8_t type, std::uint8_t detail, QPoint position = {},
              std::uint32_t delay = 0);
    /// The keys of a chord, those of a release the other way round; false for none.
    bool fakeKeys(std::uint8_t type, Keys keys, std::uint32_t delay = 0);
    void flush();

    xcb_connection_t *m_connection;
    Window m_root = 0;
};
