#include "Platform/Storage/Files.h"
#include "Tests/Desktop/Session.h"
#include "Tests/Desktop/StatusHost.h"

#include <QFileInfo>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// How often Tab is pressed in fresh preferences to reach it. The first follows the last.
enum Control { menuBarSwitch = 1, loginSwitch, recorder, restoreButton, updateButton };

const auto commands = QStringList{u"New Card"_s, u"Show All Cards"_s, u"Pin Active Card"_s,
                                  u""_s,         u"Preferences…"_s,   u"Check for Updates…"_s,
                                  u""_s,         u"Quit Brevio"_s};
const QColor formInLight(239, 239, 239);

/// Whether the form's margin is seen, left of its middle, where it would cover a card.
bool preferencesShow(Session &session)
{
    return waitUntil([&] {
        const QRect form = session.seat.geometry(session.preferences());
        return session.seat.pixel({form.left() + 5, form.center().y()}) == formInLight;
    });
}

/// True once the preferences are painted and have the keyboard.
bool preferencesComeUp(Session &session)
{
    return session.desktop.waitForFocus(session.desktop.waitForWindow(u"Brevio Preferences"_s)) &&
           preferencesShow(session);
}

/// Starts the program once more; true when that start has ended well and the preferences of the
/// running one have the keyboard.
bool openAgain(Session &session)
{
    const auto second = session.desktop.startBrevio();
    return second->endsWell() && session.brevio->isRunning() && preferencesComeUp(session);
}

/// Presses Tab so often in the preferences. Their controls take part in it a moment after the
/// window has got the keyboard, so the ring is seen to move before the next one.
bool tab(Session &session, int times)
{
    const QRect form = session.seat.geometry(session.preferences());
    for (int i = 0; i < times; ++i) {
        const QImage before = session.seat.picture(form);
        session.seat.press("Tab");
        if (!waitUntil([&] { return session.seat.picture(form) != before; }))
            return false;
    }
    return true;
}

constexpr QRect panelPlace(0, 776, 1280, 24);
const QByteArray panel =
    "rounded = 0\nborder_width = 0\nbackground_color = %1 100\npanel_items = S\n"
    "panel_size = 100% 24\npanel_background_id = 1\n";

/// Lines on a sheet: the icon brings its own contrast, whatever the panel's colour.
bool isDrawn(const QImage &icon)
{
    if (icon.isNull())
        return false;
    const auto *pixels = reinterpret_cast<const QRgb *>(icon.constBits());
    const auto [darkest, lightest] =
        std::minmax_element(pixels, pixels + icon.width() * icon.height(),
                            [](QRgb one, QRgb other) { return qGray(one) < qGray(other); });
    return qGray(*darkest) < 70 && qGray(*lightest) > 200;
}

bool menuOpensAndCloses(Session &session)
{
    // It is seen before it has the keyboard.
    return waitUntil([&] { return session.menu() != 0; }) &&
           waitUntil([&] { return session.seat.press("Escape") && session.menu() == 0; });
}

} // namespace

class ApplicationTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aSecondStartShowsThePreferencesOfTheFirst()
    {
        Session session({.sessionBus = SessionBus::None});
        QVERIFY(session.isReady() && session.summon());
        session.seat.type(u"a"_s);
        QVERIFY(openAgain(session));
        const auto window = session.preferences();
        // The card is beside and below; the preferences stay above it when it is clicked.
        for (int i = 0; i < 2; ++i) {
            session.seat.click(session.on(onSheet));
            QVERIFY(session.cardIsUp());
        }
        session.seat.type(u"b"_s);
        QVERIFY(session.storeHolds({u"ab"_s}));
        QVERIFY(preferencesShow(session));
        QVERIFY(openAgain(session));
        QCOMPARE(session.preferences(), window);
        QCOMPARE(session.desktop.noteBodies(), QStringList{u"ab"_s});
    }

    void theStatusMenuDoesWhatItSays()
    {
        std::unique_ptr<StatusHost> host;
        Session session({}, [&](Desktop &desktop) {
            Session::leaveEmptyStore(desktop);
            host = std::make_unique<StatusHost>(desktop);
        });
        QVERIFY(session.isReady());
        // The second panel comes when the first has died.
        for (int round = 0; round < 2; ++round) {
            const auto item = host->waitForItem();
            for (const char *name : {"id", "title", "toolTip"})
                QCOMPARE(item[QLatin1String(name)].toString(), u"Brevio"_s);
            QVERIFY(item[u"sizes"].toArray().contains(22));
            QVERIFY(host->activate() && menuOpensAndCloses(session));
            if (round == 0) {
                host.reset();
                host = std::make_unique<StatusHost>(session.desktop);
            }
        }

        QStringList labels;
        for (const auto entry : host->menu())
            labels << entry[u"label"].toString();
        QCOMPARE(labels, commands);
        QVERIFY(host->choose(commands[0]));
        QVERIFY(session.cardIsUp());
        session.seat.type(u"a"_s);
        QVERIFY(session.storeHolds({u"a"_s}));
        QVERIFY(host->choose(commands[2]));
        QVERIFY(session.isPinned(0));
        QVERIFY(session.keep());
        QVERIFY(host->choose(commands[1]));
        QVERIFY(session.cardIsUp());
        QVERIFY(session.gridShows());

        // Restored in the open grid, which the preferences cover until they are put away.
        QVERIFY(host->choose(commands[4]));
        QVERIFY(preferencesComeUp(session));
        QVERIFY(tab(session, restoreButton));
        session.seat.press("space");
        QVERIFY(session.storeHolds({welcome, u"a"_s}));
        QVERIFY(session.isPinned(0));
        QVERIFY(tab(session, updateButton - restoreButton + menuBarSwitch));
        session.seat.press("space");
        QVERIFY(host->waitForNoItem());
        QVERIFY(session.settingIs("brevio.showInMenuBar", false));
        session.seat.press("space");
        QVERIFY(!host->waitForItem().isEmpty());
        session.seat.press("Escape");
        QVERIFY(session.preferencesAreGone());
        // Its tile comes first, and the other note's second, where the plus was.
        QVERIFY(session.gridShows());
        QVERIFY(session.colorIs(tileDot(0), yellow) && session.colorIs(tileDot(1), yellow));
        session.seat.click(session.on(tileCenter(0)));
        QVERIFY(session.cardShows());
        session.seat.type(u"!"_s);
        QVERIFY(session.storeHolds({welcome + u'!', u"a"_s}));

        QVERIFY(host->choose(commands[7]));
        QVERIFY(session.ends());
        QVERIFY(host->waitForNoItem());
    }

    void anXTrayHasTheIconWheneverItComes()
    {
        Session session;
        QVERIFY(session.isReady());
        Seat &seat = session.seat;
        // The second one replaces one that died.
        for (const char *color : {"#202020", "#f0f0f0"}) {
            const QString file = session.desktop.home() + u"/panel"_s;
            Desktop::write(file, QByteArray(panel).replace("%1", color));
            const auto tray = session.desktop.start(u"tint2"_s, {u"-c"_s, file});
            const auto icon = session.desktop.waitForWindow(u"Brevio"_s);
            QVERIFY(waitUntil([&] { return panelPlace.contains(seat.geometry(icon)); }));
            QVERIFY(waitUntil([&] { return isDrawn(seat.picture(seat.geometry(icon))); }));
            seat.click(seat.geometry(icon).center());
            QVERIFY2(menuOpensAndCloses(session), color);
            tray->terminate();
            QVERIFY(waitUntil([&] { return seat.find(u"Brevio"_s) == 0; }));
        }
        QVERIFY(session.brevio->isRunning());
    }

    void theMenusKeysWorkInItsWindows()
    {
        Session session;
        QVERIFY(session.isReady() && session.summon());
        session.seat.type(u"ab"_s);
        session.seat.press("ctrl+a ctrl+x ctrl+v ctrl+v ctrl+z");
        QVERIFY(session.storeHolds({u"ab"_s}));
        session.seat.press("ctrl+shift+z");
        QVERIFY(session.storeHolds({u"abab"_s}));

        session.seat.press("ctrl+comma");
        QVERIFY(preferencesComeUp(session));
        session.seat.press("ctrl+h");
        QVERIFY(session.preferencesAreGone());
        QVERIFY(session.cardIsGone());
        QVERIFY(session.storeHolds({u"abab"_s}));

        QVERIFY(session.summon());
        session.seat.press("ctrl+alt+h");
        QVERIFY(waitUntil([&] { return !session.seat.isVisible(session.victimWindow); }));
        session.seat.type(u"c"_s);
        session.seat.press("ctrl+q");
        QVERIFY(session.ends());
        QCOMPARE(session.desktop.noteBodies(), (QStringList{u"c"_s, u"abab"_s}));
    }

    void startingAtLoginIsTheUsersChoice()
    {
        Session session;
        const QString entry = QFileInfo(session.desktop.defaultsPath()).path() +
                              u"/../autostart/org.brevio.Brevio.desktop"_s;
        QVERIFY(session.isReady());
        QVERIFY(!QFile::exists(entry));
        QVERIFY(openAgain(session));
        QVERIFY(tab(session, loginSwitch));
        for (const bool isOn : {true, false, true}) {
            session.seat.press("space");
            QVERIFY(waitUntil([&] { return QFile::exists(entry) == isOn; }));
        }
        QVERIFY(session.settingIs("brevio.startAtLogin", true));
        QVERIFY(session.settingIs("brevio.showInMenuBar", true));

        // Switched off in the session's settings, the next launch leaves it so.
        const auto switchedOff =
            Platform::Files::read(entry).value().replace("Hidden=false", "Hidden=true");
        QVERIFY(switchedOff.contains("Hidden=true"));
        session.desktop.write(entry, switchedOff);
        session.seat.press("ctrl+q");
        QVERIFY(session.ends());
        session.startBrevio();
        QVERIFY(session.isReady());
        QCOMPARE(Platform::Files::read(entry), switchedOff);
    }

    void aRecordedShortcutWorksAtOnceAndEverywhere()
    {
        Session session;
        StatusHost host(session.desktop);
        // Where Z stands, other keyboards have Y: keys are stored by place and shown by letter.
        QVERIFY(session.desktop.start(u"setxkbmap"_s, {u"de"_s})->endsWell());
        QVERIFY(session.isReady());
        QVERIFY(openAgain(session));
        QVERIFY(!host.waitForItem().isEmpty());
        QVERIFY(tab(session, recorder));
        // What is in use cannot be had without an answer; recording goes on after it.
        session.seat.press("ctrl+q");
        const auto alert = session.desktop.waitForWindow(u"Brevio"_s);
        QVERIFY(session.desktop.waitForFocus(alert));
        QVERIFY(session.brevio->isRunning());
        session.seat.press("Return");
        QVERIFY(session.desktop.waitForFocus(session.preferences()));
        session.seat.press("ctrl+alt+z");
        QVERIFY(waitUntil([&] { return session.seat.isTaken("ctrl+alt+z"); }));
        // The old one is given up in a request of its own.
        QVERIFY(waitUntil([&] { return !session.seat.isTaken(shortcut); }));
        QVERIFY(session.settingIs("KeyboardShortcuts_summon",
                                  uR"({"carbonKeyCode":16,"carbonModifiers":2304})"_s));
        QCOMPARE(host.menu().first().toObject().value(u"shortcut"),
                 (QJsonArray{QJsonArray{u"Control"_s, u"Alt"_s, u"Z"_s}}));
        session.seat.press("Escape");
        QVERIFY(session.preferencesAreGone());
        session.seat.press("ctrl+alt+z");
        QVERIFY(session.cardIsUp());
        session.seat.press("ctrl+q");
        QVERIFY(session.ends());
        session.startBrevio();
        QVERIFY(waitUntil([&] { return session.seat.isTaken("ctrl+alt+z"); }));
        QVERIFY(!session.seat.isTaken(shortcut));
    }
};

QTEST_GUILESS_MAIN(ApplicationTests)
#include "ApplicationTests.moc"
