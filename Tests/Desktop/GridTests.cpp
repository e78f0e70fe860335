#include "Tests/Desktop/Session.h"

#include <QTest>

namespace {

const auto one = QStringLiteral("one");
const auto two = QStringLiteral("two");
const auto three = QStringLiteral("three");
const QColor yellow(255, 204, 0);
const QColor tileInLight(251, 246, 230);

Session::Prepare threeNotes()
{
    return [](Desktop &desktop) {
        desktop.write(desktop.notesPath(), Session::storeOf({one, two, three}));
    };
}

/// Menus are windows that the window manager does not see.
std::size_t windowsOnTop(const Seat &seat)
{
    const auto all = seat.children(seat.root());
    return static_cast<std::size_t>(
        std::count_if(all.begin(), all.end(), [&](auto window) { return seat.isVisible(window); }));
}

} // namespace

class GridTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theMouseOpensPinsAndLeaves()
    {
        Session session({.compositor = Compositor::Picom}, threeNotes());
        QVERIFY(session.isReady() && session.summon());
        Seat &seat = session.seat;
        // The pointer was elsewhere: nobody has seen the button yet when it is clicked.
        seat.moveMouse({5, 5});
        QVERIFY(session.openGrid());

        // Pinned from its menu; Escape before that closes the menu alone.
        const auto without = windowsOnTop(seat);
        const auto menuIsOpen = [&] { return windowsOnTop(seat) > without; };
        seat.click(session.on(tileCenter(0)), 3);
        QVERIFY(waitUntil(menuIsOpen));
        seat.press("Escape");
        QVERIFY(waitUntil([&] { return !menuIsOpen(); }));
        const QPoint inTile = session.on(tileCenter(1) + QPoint(0, 30));
        QVERIFY(waitUntil([&] { return seat.pixel(inTile) == tileInLight; }));
        seat.click(session.on(tileCenter(1)), 3);
        QVERIFY(waitUntil(menuIsOpen));
        seat.press("Down Return");
        const QPoint dot = tileCenter(1) + QPoint(70 - 8, -40 + 7);
        QVERIFY(waitUntil([&] { return seat.pixel(session.on(dot)) == yellow; }));

        // A tile brings its card back, with a caret that types.
        seat.click(session.on(tileCenter(1)));
        QVERIFY(session.cardShows());
        QVERIFY(seat.type(QStringLiteral("!")));
        QVERIFY(waitUntil([&] { return session.desktop.noteBodies().at(1).contains(u'!'); }));
        QVERIFY(waitUntil([&] { return seat.pixel(session.on({446, 14})) == yellow; }));
        QVERIFY(session.desktop.notes().at(1).toObject().value(u"isPinned").toBool());
        // The last tile is a new card.
        QVERIFY(session.openGrid());
        seat.click(session.on(tileCenter(3)));
        QVERIFY(session.cardShows());
        QVERIFY(seat.type(QStringLiteral("new")));
        QVERIFY(waitUntil([&] { return session.desktop.noteBodies().first() == u"new"; }));
        QCOMPARE(session.desktop.notes().size(), 4);
        QCOMPARE(session.victim->output(), QByteArray());
    }

    void theKeyboardWalksOpensAndDeletes()
    {
        Session session({}, threeNotes());
        QVERIFY(session.isReady() && session.summon());
        Seat &seat = session.seat;
        QVERIFY(session.openGrid());
        seat.moveMouse({5, 5});
        const auto without = windowsOnTop(seat);
        QVERIFY(seat.press("Right Down Up Right Left Menu"));
        QVERIFY(waitUntil([&] { return windowsOnTop(seat) > without; }));
        seat.press("Down Down Return");
        QVERIFY(waitUntil([&] { return session.desktop.notes().size() == 2; }));
        const QStringList left = session.desktop.noteBodies();

        // Escape is back on a blank card, its caret alive; the keys of the grid type here.
        seat.press("Escape");
        QVERIFY(session.cardShows());
        QVERIFY(seat.type(QStringLiteral("x y")));
        QVERIFY(session.storeHolds(QStringList{QStringLiteral("x y")} + left));
    }
};

QTEST_GUILESS_MAIN(GridTests)
#include "GridTests.moc"
