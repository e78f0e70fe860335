#pragma once

#include "Tests/Desktop/Desktop.h"

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
    void startBrevio();
    /// Whether it ends by itself, with success. From then on no window or grabbed key is left of
    /// it.
    [[nodiscard]] bool ends();
    [[nodiscard]] bool shortcutIsInForce();

    /// Presses the shortcut; true once the card is there and has the keyboard.
    [[nodiscard]] bool summon();
    [[nodiscard]] bool cardIsUp();
    /// The preferences' window; 0 while it is hidden.
    [[nodiscard]] Seat::Window preferences() const;
    /// The card's window; 0 while it is hidden.
    [[nodiscard]] Seat::Window card() const;
    /// Whether the card is gone and the other program has the keyboard again.
    [[nodiscard]] bool cardIsGone();
    /// Opens the grid, which holds a note, by the button, which need not be seen yet. The tiles
    /// take clicks from then on.
    [[nodiscard]] bool openGrid();
    /// Whether nothing of the grid is seen any more. Light only, like the above.
    [[nodiscard]] bool cardShows();
    /// Whether the card's sheet, left of its text, shows the colour.
    [[nodiscard]] bool sheetIs(const QColor &color);
    /// Where a point of the card is on the desktop.
    [[nodiscard]] QPoint on(QPoint point);

    /// Newest first, as the file has them.
    [[nodiscard]] bool storeHolds(const QStringList &bodies);
    [[nodiscard]] bool victimReads(const QByteArray &text);

    /// A store of unpinned notes, the first edited last.
    [[nodiscard]] static QByteArray storeOf(const QStringList &bodies);
    static void leaveEmptyStore(Desktop &desktop);

    Desktop desktop;
    Seat &seat;
    std::unique_ptr<Process> victim;
    Seat::Window victimWindow = 0;
    std::unique_ptr<Process> brevio;

private:
    [[nodiscard]] bool putPreferencesAway();
    bool letVictimHaveKeyboard();

    WindowManager m_windowManager;
};

constexpr QPoint gridButtonCenter(442, 262);
/// The centre of a tile in the unscrolled grid.
constexpr QPoint tileCenter(int tile)
{
    return {82 + 148 * (tile % 3), 52 + 88 * (tile / 3)};
}
const QColor creamInLight(254, 252, 242);
const QColor creamInDark(33, 29, 21);
