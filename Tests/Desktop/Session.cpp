#include "Tests/Desktop/Session.h"

#include <QDateTime>
#include <QFile>
#include <QJsonDocument>
#include <QUuid>

using namespace Qt::StringLiterals;
namespace {

constexpr const char *shortcut = "ctrl+shift+space";
const auto cardTitle = u"Brevio"_s;
const QColor tileInLight(251, 246, 230);
constexpr QPoint inFirstTile(20, 85); // and left of the card's text

} // namespace

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
    return desktop.problem().isEmpty() && shortcutIsInForce() && putPreferencesAway();
}

bool Session::putPreferencesAway()
{
    if (!waitUntil([this] { return card() != 0 || preferences() != 0; }))
        return false;
    if (card() != 0)
        return true;
    if (!desktop.waitForFocus(preferences()) || !seat.press("Escape") ||
        !waitUntil([this] { return preferences() == 0; }))
        return false;
    return letVictimHaveKeyboard();
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

void Session::startBrevio()
{
    brevio = desktop.startBrevio();
}

bool Session::ends()
{
    const auto id = static_cast<std::uint32_t>(brevio->id());
    const auto isItsWindow = [&](Seat::Window window) {
        return seat.property(window, "_NET_WM_PID") == std::vector{id};
    };
    // The server may hear of the end of a program after those who waited for it.
    return brevio->waitForEnd() && brevio->exitCode() == 0 && waitUntil([&] {
               const auto all = seat.children(seat.root());
               return std::none_of(all.begin(), all.end(), isItsWindow);
           });
}

bool Session::shortcutIsInForce()
{
    return waitUntil([this] { return seat.isTaken(shortcut); });
}

bool Session::summon()
{
    return seat.press(shortcut) && cardIsUp();
}

bool Session::cardIsUp()
{
    return desktop.waitForFocus(desktop.waitForWindow(cardTitle));
}

bool Session::cardIsGone()
{
    return waitUntil([this] { return card() == 0; }) && desktop.waitForFocus(victimWindow);
}

Seat::Window Session::preferences() const
{
    return seat.find(u"Brevio Preferences"_s);
}

Seat::Window Session::card() const
{
    return seat.find(cardTitle);
}

bool Session::openGrid()
{
    seat.click(on(gridButtonCenter));
    return waitUntil([this] { return seat.pixel(on(inFirstTile)) == tileInLight; });
}

bool Session::cardShows()
{
    return waitUntil([this] { return seat.pixel(on(inFirstTile)) == creamInLight; });
}

bool Session::sheetIs(const QColor &color)
{
    return waitUntil([&] { return seat.pixel(on({6, 140})) == color; });
}

QPoint Session::on(QPoint point)
{
    return seat.geometry(card()).topLeft() + point;
}

bool Session::storeHolds(const QStringList &bodies)
{
    return waitUntil([&] { return desktop.noteBodies() == bodies; });
}

bool Session::victimReads(const QByteArray &text)
{
    return waitUntil([&] { return victim->output() == text; });
}

QByteArray Session::storeOf(const QStringList &bodies)
{
    QJsonArray notes;
    const auto now = QDateTime::currentDateTimeUtc();
    for (const auto &body : bodies) {
        const QString time = now.addSecs(-1 - notes.size()).toString(Qt::ISODate);
        notes.append(QJsonObject{{u"body"_s, body},
                                 {u"createdAt"_s, time},
                                 {u"id"_s, QUuid::createUuid().toString(QUuid::WithoutBraces)},
                                 {u"isPinned"_s, false},
                                 {u"lastEditedAt"_s, time}});
    }
    return QJsonDocument(QJsonObject{{u"notes"_s, notes}}).toJson();
}

void Session::leaveEmptyStore(Desktop &desktop)
{
    desktop.write(desktop.notesPath(), "{}");
}
