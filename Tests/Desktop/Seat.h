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

    // Keyboard. A chord is written like "ctrl+shift+space": ctrl, shift, alt, then
    // an X key name. False when the keyboard has no such key. Keys that are held do not repeat.
    /// Several with blanks between them. They are sent at once: a pause of the test is none for
    /// the keys.
    bool press(const char *chords);
    bool keyDown(const char *chord);
    bool keyUp(const char *chord);
    /// Types characters that the keyboard has plain or with Shift; '\n' is Return.
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
    [[nodiscard]] Window root() const { return m_root; }
    [[nodiscard]] bool isVisible(Window window) const;
    /// Where the window is on the desktop, without decorations.
    [[nodiscard]] QRect geometry(Window window) const;
    /// Names of _NET_WM_STATE without that prefix, sorted: "ABOVE", "STICKY".
    [[nodiscard]] QStringList states(Window window) const;
    [[nodiscard]] std::vector<std::uint32_t> property(Window window, const char *name) const;
    [[nodiscard]] QByteArray text(Window window, const char *property) const;
    void setProperty(Window window, const char *name, const std::vector<std::uint32_t> &values);
    [[nodiscard]] Window selectionOwner(const char *name) const;

    // Pixels.
    [[nodiscard]] QColor pixel(QPoint position) const;
    [[nodiscard]] QImage picture(QRect part) const;
    /// The pointer as it looks now, which no picture shows; its hot spot is the image's offset.
    [[nodiscard]] QImage cursorImage() const;

private:
    struct Connection;
    struct Key;
    [[nodiscard]] std::uint32_t atom(const char *name) const;
    [[nodiscard]] Key keyFor(std::uint32_t symbol) const;
    [[nodiscard]] std::vector<std::uint8_t> keysOf(const char *chord) const;
    [[nodiscard]] static std::uint16_t modifiersOf(const char *chord);
    /// The server waits the delay out first, in milliseconds. Nothing is sent before a flush.
    void fake(std::uint8_t type, std::uint8_t detail, QPoint position = {},
              std::uint32_t delay = 0);
    void fakeAll(std::uint8_t type, const std::vector<std::uint8_t> &keys, std::uint32_t delay = 0);
    void flush();

    std::unique_ptr<Connection> m_connection;
    Window m_root = 0;
};
