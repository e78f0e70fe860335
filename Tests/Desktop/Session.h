#pragma once

#include "Tests/Desktop/Desktop.h"

constexpr const char *shortcut = "ctrl+shift+space";
constexpr QPoint gridButtonCenter(442, 262);
constexpr QPoint inFirstTile(20, 85); // and left of the card's text
constexpr QPoint onSheet(6, 140);     // where the card can be dragged
constexpr QPoint pinDot(446, 14);
/// The centre of a tile in the unscrolled grid.
constexpr QPoint tileCenter(int tile)
{
    return {82 + 148 * (tile % 3), 52 + 88 * (tile / 3)};
}
/// The dot of a pinned tile.
constexpr QPoint tileDot(int tile)
{
    return tileCenter(tile) + QPoint(70 - 8, -40 + 7);
}
const auto welcome =
    QStringLiteral("Welcome to Brevio.\n\n⌘⇧Space — summon a card\n⌘↩ — keep it\nEsc — discard it\n"
                   "⌘⇧K — pin (yellow dot)\nHold ⌥ — dictate\n⌘, — preferences\n\n"
                   "Cards expire in 7 days unless pinned.");
const QColor creamInLight(254, 252, 242);
const QColor creamInDark(33, 29, 21);
const QColor tileInLight(251, 246, 230);
const QColor yellow(255, 204, 0);

/// A desktop with Brevio on it, over the window of another program that has the keyboard. Every
/// question waits for its answer to become yes.
class Session final
{
public:
    using Prepare = std::function<void(Desktop &)>;

    /// Without a preparation the store is there and empty, so that no card comes up by itself.
    explicit Session(const DesktopOptions &options = {}, const Prepare &prepare = leaveEmptyStore);

    /// Whether everything has started, the shortcut is in force, and nothing covers the other
    /// program but the card of a first run: the preferences of a later one are put away.
    [[nodiscard]] bool isReady();
    /// Anew, after it ended.
    void startBrevio() { brevio = desktop.startBrevio(); }
    /// Whether it ends by itself, with success. From then on no window or grabbed key is left of
    /// it.
    [[nodiscard]] bool ends();
    [[nodiscard]] bool shortcutIsInForce()
    {
        return waitUntil([this] { return seat.isTaken(shortcut); });
    }

    // The card. Of its colours only the light ones are known here.
    /// Its window; 0 while it is hidden.
    [[nodiscard]] Seat::Window card() const { return seat.find(QStringLiteral("Brevio")); }
    /// Presses the shortcut; true once the card is there and has the keyboard.
    [[nodiscard]] bool summon() { return seat.press(shortcut) && cardIsUp(); }
    [[nodiscard]] bool cardIsUp();
    /// Whether the card is gone and the other program has the keyboard again.
    [[nodiscard]] bool cardIsGone();
    /// By its key; true once the card is gone.
    [[nodiscard]] bool keep() { return seat.press("ctrl+Return") && cardIsGone(); }
    [[nodiscard]] bool discard() { return seat.press("Escape") && cardIsGone(); }
    /// Opens the grid, which holds a note, by the button, which need not be seen yet. The tiles
    /// take clicks from then on.
    [[nodiscard]] bool openGrid();
    [[nodiscard]] bool gridShows() { return colorIs(inFirstTile, tileInLight); }
    /// Whether nothing of the grid is seen any more.
    [[nodiscard]] bool cardShows() { return colorIs(inFirstTile, creamInLight); }
    [[nodiscard]] bool colorIs(QPoint point, const QColor &color)
    {
        return waitUntil([&] { return seat.pixel(on(point)) == color; });
    }
    /// Where a point of the card is on the desktop.
    [[nodiscard]] QPoint on(QPoint point) { return seat.geometry(card()).topLeft() + point; }

    // The rest of the program.
    /// The preferences' window; 0 while it is hidden.
    [[nodiscard]] Seat::Window preferences() const;
    [[nodiscard]] bool preferencesAreGone()
    {
        return waitUntil([this] { return preferences() == 0; });
    }
    /// The menu that is open; 0 without one. Needs a window manager.
    [[nodiscard]] Seat::Window menu() const;

    // The files.
    /// Newest first, as the file has them.
    [[nodiscard]] bool storeHolds(const QStringList &bodies)
    {
        return waitUntil([&] { return desktop.noteBodies() == bodies; });
    }
    [[nodiscard]] bool isPinned(int note)
    {
        return waitUntil([&] { return desktop.notes()[note][u"isPinned"].toBool(); });
    }
    [[nodiscard]] bool settingIs(const char *name, const QJsonValue &value)
    {
        return waitUntil([&] { return desktop.defaults()[QLatin1String(name)] == value; });
    }
    [[nodiscard]] bool victimReads(const QByteArray &text)
    {
        return waitUntil([&] { return victim->output() == text; });
    }

    /// A store of unpinned notes, the first edited last.
    [[nodiscard]] static QByteArray storeOf(const QStringList &bodies);
    static void leaveEmptyStore(Desktop &desktop);

    Desktop desktop;
    Seat &seat;
    std::unique_ptr<Process> victim;
    Seat::Window victimWindow = 0;
    std::unique_ptr<Process> brevio;

private:
    bool letVictimHaveKeyboard();

    WindowManager m_windowManager;
};
