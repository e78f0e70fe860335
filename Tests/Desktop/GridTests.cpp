#include "Tests/Desktop/Session.h"

#include <QTest>

using namespace Qt::StringLiterals;

class GridTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theMouseAndTheKeyboardWalkOpenPinAndDelete()
    {
        Session session({.isComposed = true}, [](Desktop &desktop) {
            desktop.write(desktop.notesPath(), Session::storeOf({u"one"_s, u"two"_s, u"three"_s}));
        });
        QVERIFY(session.isReady() && session.summon());
        Seat &seat = session.seat;
        // The pointer was elsewhere: nobody has seen the button yet when it is clicked.
        seat.moveMouse({5, 5});
        QVERIFY(session.openGrid());

        // Pinned from its menu; Escape before that closes the menu alone.
        const auto menuIsOpen = [&] { return session.menu() != 0; };
        seat.click(session.on(tileCenter(0)), 3);
        QVERIFY(waitUntil(menuIsOpen));
        seat.press("Escape");
        QVERIFY(waitUntil([&] { return !menuIsOpen(); }));
        QVERIFY(session.gridShows());
        QVERIFY(seat.pixel(session.on(tileDot(1))) != yellow);
        seat.click(session.on(tileCenter(1)), 3);
        QVERIFY(waitUntil(menuIsOpen));
        seat.press("Down Return");
        QVERIFY(session.colorIs(tileDot(1), yellow));

        // A tile brings its card back, with a caret that types.
        seat.click(session.on(tileCenter(1)));
        QVERIFY(session.cardShows());
        seat.type(u"!"_s);
        QVERIFY(waitUntil([&] { return session.desktop.noteBodies().at(1).contains(u'!'); }));
        QVERIFY(session.colorIs(pinDot, yellow));
        QVERIFY(session.isPinned(1));
        // The last tile is a new card.
        QVERIFY(session.openGrid());
        seat.click(session.on(tileCenter(3)));
        QVERIFY(session.cardShows());
        seat.type(u"new"_s);
        QVERIFY(waitUntil([&] { return session.desktop.noteBodies().first() == u"new"; }));
        QCOMPARE(session.desktop.notes().size(), 4);

        // The keyboard walks and deletes; Escape is back on the blank card, its caret alive, where
        // the keys of the grid type.
        QVERIFY(session.keep() && session.summon() && session.openGrid());
        seat.moveMouse({5, 5});
        seat.press("Right Down Up Right Left Menu");
        QVERIFY(waitUntil(menuIsOpen));
        seat.press("Down Down Return");
        QVERIFY(waitUntil([&] { return session.desktop.notes().size() == 3; }));
        const QStringList left = session.desktop.noteBodies();
        seat.press("Escape");
        QVERIFY(session.cardShows());
        seat.type(u"x y"_s);
        QVERIFY(session.storeHolds(QStringList{u"x y"_s} + left));
        QCOMPARE(session.victim->output(), QByteArray());
    }
};

QTEST_GUILESS_MAIN(GridTests)
#include "GridTests.moc"
