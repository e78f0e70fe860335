#pragma once

#include <QColor>
#include <QImage>
#include <QRect>
#include <QStringList>

#include <cstdint>
#include <memory>
#include <vector>

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

    [[nodiscard]] bool isConnected() const;

    // Keyboard. A chord is written like "ctrl+shift+space": ctrl, shift, alt, super, AltGr, then
    // an X key name. False when the keyboard has no such key.
    bool press(const char *chord) { return keyDown(chord) && keyUp(chord); }
    bool keyDown(const char *chord);
    bool keyUp(const char *chord);
    /// Types characters that the keyboard has plain or with Shift; '\n' is Return.
    bool type(const QString &text);
    /// Whether a program keeps the chord for itself. Nothing else happens on the server meanwhile.
    [[nodiscard]] bool isTaken(const char *chord) const;

    // Mouse. Buttons: 1 left, 2 middle, 3 right, 4 and 5 the wheel.
    void moveMouse(QPoint position);
    void buttonDown(int button = 1);
    void buttonUp(int button = 1);
    void click(QPoint position, int button = 1);
    /// With the left button, in a few steps.
    void drag(QPoint from, QPoint to);

    // Windows. 0 is none.
    [[nodiscard]] Window activeWindow() const;
    /// The window that gets the keys, which also works without a window manager.
    [[nodiscard]] Window focus() const;
    /// The visible window with this title, wherever a window manager has put it.
    [[nodiscard]] Window find(const QString &title) const;
    [[nodiscard]] std::vector<Window> children(Window window) const;
    [[nodiscard]] Window root() const { return m_root; }
    [[nodiscard]] bool isVisible(Window window) const;
    /// Where the window is on the desktop, without decorations.
    [[nodiscard]] QRect geometry(Window window) const;
    [[nodiscard]] QString title(Window window) const;
    /// Both parts of WM_CLASS.
    [[nodiscard]] QStringList classOf(Window window) const;
    /// Names of _NET_WM_STATE without that prefix, sorted: "ABOVE", "STICKY".
    [[nodiscard]] QStringList states(Window window) const;
    [[nodiscard]] std::vector<std::uint32_t> property(Window window, const char *name) const;
    [[nodiscard]] Window selectionOwner(const char *name) const;
    void setRootProperty(const char *name, const std::vector<std::uint32_t> &values);

    // Requests that a task bar or the window manager's menu would make.
    void activate(Window window);
    void close(Window window);
    void switchToDesktop(unsigned int index);

    // Pixels.
    [[nodiscard]] QColor pixel(QPoint position) const;
    [[nodiscard]] QImage picture(QRect part) const;
    [[nodiscard]] QRect screen() const { return geometry(m_root); }

private:
    struct Connection;
    struct Key;
    [[nodiscard]] std::uint32_t atom(const char *name) const;
    [[nodiscard]] QByteArray rawProperty(Window window, const char *name) const;
    [[nodiscard]] Key keyFor(std::uint32_t symbol) const;
    [[nodiscard]] std::vector<std::uint8_t> keysOf(const char *chord) const;
    void fake(std::uint8_t type, std::uint8_t detail, QPoint position = {});
    void tellManager(Window window, const char *message, const std::vector<std::uint32_t> &values);

    std::unique_ptr<Connection> m_connection;
    Window m_root = 0;
};
