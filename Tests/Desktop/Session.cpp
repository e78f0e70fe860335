#include "Tests/Desktop/Session.h"

#include "Brevio/Notes/StoreFile.h"

#include <algorithm>

using namespace Qt::StringLiterals;

Session::Session(const DesktopOptions &options, const Prepare &prepare)
    : desktop(options)
    , seat(desktop.seat())
    , m_windowManager(options.windowManager)
{
    if (!desktop.problem().isEmpty())
        return;
    prepare(desktop);
    victim = desktop.startVictim();
    victimWindow = desktop.waitForWindow(u"Victim"_s);
    (void)letVictimHaveKeyboard();
    startBrevio();
}

bool Session::isReady()
{
    if (!desktop.problem().isEmpty() || !shortcutIsInForce() ||
        !waitUntil([this] { return card() != 0 || preferences() != 0; }))
        return false;
    return card() != 0 || (desktop.waitForFocus(preferences()) && seat.press("Escape") &&
                           preferencesAreGone() && letVictimHaveKeyboard());
}

/// Without a window manager only a click can move the keyboard, and one that comes in the instant
/// in which another window goes is too early.
bool Session::letVictimHaveKeyboard()
{
    const QPoint corner = seat.geometry(victimWindow).bottomRight() - QPoint(9, 9);
    return waitUntil([&] {
        if (m_windowManager == WindowManager::None)
            seat.click(corner);
        return seat.focus() == victimWindow;
    });
}

bool Session::ends()
{
    const auto id = static_cast<std::uint32_t>(brevio->id());
    const auto isItsWindow = [&](Seat::Window window) {
        return seat.property(window, "_NET_WM_PID") == std::vector{id};
    };
    // The server may hear of the end of a program after those who waited for it.
    return brevio->endsWell() &&
           waitUntil([&] { return std::ranges::none_of(seat.children(seat.root()), isItsWindow); });
}

bool Session::cardIsUp()
{
    return desktop.waitForFocus(desktop.waitForWindow(u"Brevio"_s));
}

bool Session::cardIsGone()
{
    return waitUntil([this] { return card() == 0; }) && desktop.waitForFocus(victimWindow);
}

bool Session::openGrid()
{
    seat.click(on(gridButtonCenter));
    return gridShows();
}

Seat::Window Session::preferences() const
{
    return seat.find(u"Brevio Preferences"_s);
}

Seat::Window Session::menu() const
{
    // The window manager has put every other window of the program into a frame.
    for (const auto window : seat.children(seat.root())) {
        if (seat.text(window, "WM_CLASS").startsWith("brevio") && seat.isVisible(window))
            return window;
    }
    return 0;
}

QByteArray Session::storeOf(const QStringList &bodies)
{
    Brevio::NoteList notes;
    auto time = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    for (const auto &body : bodies)
        notes.push_back(Brevio::Note::create(time -= std::chrono::seconds(1), body));
    return Brevio::StoreFile::encode(notes, {});
}

void Session::leaveEmptyStore(Desktop &desktop)
{
    desktop.write(desktop.notesPath(), "{}");
}
