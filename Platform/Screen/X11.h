#pragma once

#include <QByteArray>
#include <QSize>

#include <cstdint>
#include <optional>
#include <vector>

struct xcb_connection_t;

namespace Platform::X11 {

using Window = std::uint32_t;
using Atom = std::uint32_t;

/// The few things that windows and screens ask of an X server beyond Qt. Uses Qt's own connection,
/// so requests keep their order with Qt's. A plain handle; main thread only.
class Server final
{
public:
    /// Nothing when the application does not run on X.
    [[nodiscard]] static std::optional<Server> current();

    [[nodiscard]] xcb_connection_t *connection() const { return m_connection; }
    [[nodiscard]] Window root() const { return m_root; }
    /// Asks the server once for each name.
    [[nodiscard]] Atom atom(const QByteArray &name) const;
    /// None when nobody owns it.
    [[nodiscard]] Window ownerOf(const QByteArray &selection) const;

    /// What is asked for and not yet answered. Several are best asked before the first answer is
    /// waited for; each must be answered, once.
    struct Question
    {
        unsigned int sequence;
    };
    [[nodiscard]] Question ask(Window window, const QByteArray &property) const;
    /// The property's 32-bit values; empty when it, or the window, is not there.
    [[nodiscard]] std::vector<std::uint32_t> answer(Question question) const;
    [[nodiscard]] std::vector<std::uint32_t> values(Window window, const QByteArray &property) const
    {
        return answer(ask(window, property));
    }

    /// In device pixels, over all monitors.
    [[nodiscard]] Question askDesktopSize() const;
    [[nodiscard]] QSize desktopSize(Question question) const;

    void setValues(Window window, const QByteArray &property, const QByteArray &type,
                   const std::vector<std::uint32_t> &values) const;
    void setText(Window window, const QByteArray &property, const QByteArray &text) const;

    /// Sends a message to the window manager.
    void tellManager(Window window, const QByteArray &message,
                     const std::vector<std::uint32_t> &values) const;
    /// Whether a window manager runs that does as it is told.
    [[nodiscard]] bool hasManager() const;

    /// The server's clock, in milliseconds; 0 when it cannot be told. Takes a connection of its own
    /// for a moment, so not for a path that must be fast.
    [[nodiscard]] std::uint32_t time() const;

    [[nodiscard]] Window focus() const;
    /// Without a window manager's help. Nothing happens when the window is gone.
    void setFocus(Window window, std::uint32_t time) const;

private:
    xcb_connection_t *m_connection = nullptr;
    Window m_root = 0;
};

} // namespace Platform::X11
