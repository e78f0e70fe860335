#include "Brevio/CardController.h"

#include "Brevio/BoundedTextView.h"
#include "Brevio/CardContentView.h"
#include "Brevio/CardPanel.h"
#include "Brevio/GridContentView.h"
#include "Brevio/NoteStore.h"
#include "Brevio/RootContainer.h"
#include "Brevio/Settings.h"
#include "Brevio/ToastView.h"
#include "Tests/Support/FakeAppearance.h"
#include "Tests/Support/FakeCloudDrive.h"
#include "Tests/Support/FakeScreens.h"
#include "Tests/Support/ShortcutsFixture.h"

#include <QTest>

using namespace Brevio;
using namespace std::chrono_literals;
using Face = RootContainer::Face;

namespace {

constexpr FakeHotKeys::Combination summonKeys{49, Platform::Modifier::Command |
                                                      Platform::Modifier::Shift};
/// Longer than a toast, a cross-fade and the store's debounce together.
constexpr auto longEnough = 2s;

/// The whole card on a desktop of fakes, with a real store in a folder of its own.
struct Card
{
    Card()
    {
        clock.advance(1s); // a deletion at the moment of the last edit would not outlive a merge
        store.setPendingWelcomeID(std::nullopt);
        store.deleteNote(store.notes().front().id); // the welcome note of the first run
        elsewhere.show();
    }

    BoundedTextView &text() { return *card().textView(); }
    CardContentView &card() { return *controller.panel().findChild<CardContentView *>(); }
    RootContainer &root() { return *controller.panel().findChild<RootContainer *>(); }
    QString toast() { return controller.panel().findChild<ToastView *>()->text(); }
    bool isShown() const { return controller.panel().isVisible(); }

    void summon()
    {
        if (!isShown()) { // then the keyboard is elsewhere, which the offscreen platform omits
            elsewhere.activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&elsewhere));
        }
        shortcuts.hotKeys.press(summonKeys);
        shortcuts.hotKeys.release(summonKeys);
        if (isShown())
            QVERIFY(QTest::qWaitForWindowActive(&controller.panel()));
    }
    void type(const QString &keys) { QTest::keyClicks(&text(), keys); }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QWidget *focus = controller.panel().focusWidget();
        QTest::keyClick(focus ? focus : &controller.panel(), key, modifiers);
    }
    void keep() { press(Qt::Key_Return, Qt::ControlModifier); }
    void discard() { press(Qt::Key_Escape); }
    void pin() { press(Qt::Key_K, Qt::ControlModifier | Qt::ShiftModifier); }
    void wait(Platform::MainQueue::Duration span)
    {
        clock.advance(span);
        queue.advance(span);
    }

    /// A note that the store already has, loaded through a click in the grid.
    QUuid openExisting(const QString &body)
    {
        const QUuid id = store.newNote();
        store.setBody(id, body);
        wait(10min);
        summon();
        controller.enterGridMode();
        controller.grid().onThumbClick(id);
        wait(longEnough);
        return id;
    }
    QStringList bodies() const
    {
        QStringList bodies;
        for (const Note &note : store.notes())
            bodies << note.body;
        return bodies;
    }

    ShortcutsFixture shortcuts;
    ManualQueue &queue = shortcuts.queue;
    ManualClock clock;
    FakeAppearance appearance;
    FakeScreens screens;
    FakeCloudDrive cloud;
    NoteStore store{{clock, queue, cloud, shortcuts.folder.filePath(QStringLiteral("data")),
                     shortcuts.folder.filePath(QStringLiteral("data"))}};
    Settings settings{shortcuts.defaults};
    QWidget elsewhere;
    CardController controller{store, settings, {appearance, queue, screens, shortcuts.defaults}};
};

} // namespace

class CardControllerTests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void newCardEndsAsTheLastKeySays_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("erased");
        QTest::addColumn<bool>("kept");
        QTest::addColumn<QStringList>("bodies");
        QTest::addColumn<QString>("toast");
        const auto none = QString();
        QTest::newRow("space around it stays")
            << "  word \t" << 0 << true << QStringList{u"  word \t"_qs} << "Note saved";
        QTest::newRow("blank kept") << "   " << 0 << true << QStringList() << none;
        QTest::newRow("typed and erased, kept") << "x" << 1 << true << QStringList() << none;
        QTest::newRow("word discarded")
            << "word" << 0 << false << QStringList() << "Note discarded";
        QTest::newRow("untouched, discarded") << "" << 0 << false << QStringList() << none;
    }

    void newCardEndsAsTheLastKeySays()
    {
        QFETCH(QString, typed);
        QFETCH(int, erased);
        QFETCH(bool, kept);
        Card card;
        card.summon();
        card.pin(); // a blank card has nothing to pin
        card.type(typed);
        // In the store at once; blank text makes no record.
        QCOMPARE(card.bodies(), typed.trimmed().isEmpty() ? QStringList() : QStringList{typed});
        for (int i = 0; i < erased; ++i)
            card.press(Qt::Key_Backspace);
        kept ? card.keep() : card.discard();

        QTEST(card.toast(), "toast");
        QCOMPARE(card.isShown(), !card.toast().isEmpty());
        QVERIFY(!card.controller.activeNoteID());
        QCOMPARE(card.text().text(), QString());
        QTEST(card.bodies(), "bodies");
        card.wait(761ms); // a toast, and the fade after it
        QVERIFY(!card.isShown());
    }

    void openedNoteEndsAsTheLastKeySays_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("erased");
        QTest::addColumn<bool>("kept");
        QTest::addColumn<QString>("body"); // empty: the note is gone
        QTest::addColumn<bool>("newTime");
        QTest::addColumn<QString>("toast");
        const auto none = QString();
        QTest::newRow("appended, kept") << "m" << 0 << true << "team" << true << "Note saved";
        QTest::newRow("emptied, kept") << "" << 3 << true << "" << false << none;
        QTest::newRow("unchanged, discarded") << "" << 0 << false << "tea" << false << none;
        QTest::newRow("appended, discarded")
            << "m" << 0 << false << "tea" << false << "Changes discarded";
        QTest::newRow("emptied, discarded")
            << "" << 3 << false << "tea" << false << "Changes discarded";
        QTest::newRow("changed and back, discarded") << "m" << 1 << false << "tea" << true << none;
    }

    void openedNoteEndsAsTheLastKeySays()
    {
        QFETCH(QString, typed);
        QFETCH(int, erased);
        QFETCH(bool, kept);
        QFETCH(QString, body);
        QFETCH(bool, newTime);
        Card card;
        const QUuid id = card.openExisting(QStringLiteral("tea"));
        const Note before = *card.store.note(id);
        card.type(typed);
        for (int i = 0; i < erased; ++i)
            card.press(Qt::Key_Backspace);
        kept ? card.summon() : card.discard();

        QTEST(card.toast(), "toast");
        const auto after = card.store.note(id);
        QCOMPARE(after.has_value(), !body.isEmpty());
        if (after) {
            QCOMPARE(after->body, body);
            QCOMPARE(after->createdAt, before.createdAt);
            QCOMPARE(after->lastEditedAt > before.lastEditedAt, newTime);
        }
    }

    void refusedEditShakesAndLeavesTheStoreWithWhatTheCardShows()
    {
        Card card;
        card.summon();
        card.type(QStringLiteral("a"));
        for (int i = 0; i < 40; ++i)
            card.press(Qt::Key_Return);
        QVERIFY(card.text().text().size() < 40);
        QCOMPARE(card.bodies(), QStringList{card.text().text()});
        const QPointF rest = card.screens.placements.back();
        card.wait(50ms);
        QVERIFY(card.screens.placements.back() != rest);
    }

    void onlyTheExactKeysPinAndKeep()
    {
        Card card;
        card.summon();
        card.type(QStringLiteral("ab"));
        card.press(Qt::Key_K, Qt::ControlModifier);
        QVERIFY2(!card.store.notes().front().isPinned, "Ctrl+K without Shift pins nothing");
        card.pin();
        card.pin();
        QVERIFY(card.card().isPinIndicatorHidden());
        card.press(Qt::Key_Enter, Qt::ControlModifier | Qt::KeypadModifier);
        QVERIFY2(card.isShown() && card.controller.activeNoteID(),
                 "the keypad's Enter keeps nothing");
        card.press(Qt::Key_Return, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(card.toast(), QStringLiteral("Note saved"));
    }

    void cardSummonedDuringTheToastStays()
    {
        for (const auto moment : {50ms, 300ms, 650ms}) {
            Card card;
            card.summon();
            card.type(QStringLiteral("first"));
            card.keep();
            card.wait(moment);
            card.summon(); // the card is key and blank: it goes at once
            QVERIFY(!card.isShown());
            card.summon();
            card.wait(longEnough);
            QVERIFY2(card.isShown(), "the first card's fade must not take the second away");
            QCOMPARE(card.controller.panel().alpha(), 1.0);
            QCOMPARE(card.root().alpha(Face::Card), 1.0);
        }
    }

    void noteThatVanishedUnderTheCardIsNotBroughtBack()
    {
        Card card;
        const QUuid id = card.openExisting(QStringLiteral("shared"));
        card.store.deleteNote(id);
        card.type(QStringLiteral("!"));
        card.pin();
        QVERIFY(card.store.notes().empty());
        card.keep();
        QVERIFY(card.store.notes().empty());
    }

    void gridReturnsToTheNoteTheUserChose()
    {
        Card card;
        const QUuid other = card.store.newNote();
        card.store.setBody(other, QStringLiteral("other"));
        card.wait(1s);
        // Back on its own note: it counts as opened now, so discarding has nothing to undo.
        card.summon();
        card.type(QStringLiteral("mine"));
        card.controller.enterGridMode();
        card.discard();
        QCOMPARE(card.text().text(), QStringLiteral("mine"));
        card.discard();
        QCOMPARE(card.bodies(), (QStringList{u"mine"_qs, u"other"_qs}));

        // A blank record is dropped when the user turns to another note.
        card.summon();
        card.type(QStringLiteral("x"));
        card.press(Qt::Key_Backspace);
        card.controller.enterGridMode();
        card.controller.grid().onThumbClick(other);
        QCOMPARE(card.text().text(), QStringLiteral("other"));
        QCOMPARE(card.bodies(), (QStringList{u"mine"_qs, u"other"_qs}));
    }

    void everyWayOutOfTheGridEndsOnTheCard_data()
    {
        using Way = std::function<void(Card &)>;
        QTest::addColumn<Way>("leave");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("notes");
        QTest::newRow("escape") << Way([](Card &card) { card.discard(); }) << "mine" << 1;
        QTest::newRow("keep key") << Way([](Card &card) { card.keep(); }) << "mine" << 1;
        QTest::newRow("summon") << Way([](Card &card) { card.summon(); }) << "mine" << 1;
        QTest::newRow("plus tile")
            << Way([](Card &card) { card.controller.grid().onNewCardTapped(); }) << "" << 1;
        QTest::newRow("escape after the active note was deleted") << Way([](Card &card) {
            card.controller.grid().onThumbDelete(*card.controller.activeNoteID());
            card.discard();
        }) << "" << 0;
        QTest::newRow("tile of a note that is gone")
            << Way([](Card &card) { card.controller.grid().onThumbClick(QUuid::createUuid()); })
            << "" << 1;
    }

    void everyWayOutOfTheGridEndsOnTheCard()
    {
        QFETCH(std::function<void(Card &)>, leave);
        Card card;
        card.summon();
        card.type(QStringLiteral("mine"));
        card.controller.enterGridMode();
        card.wait(longEnough);
        card.pin();
        QVERIFY2(!card.store.notes().front().isPinned, "the pin key is swallowed in the grid");
        leave(card);
        QCOMPARE(card.controller.mode(), CardMode::Card);
        card.wait(longEnough);
        QVERIFY(card.isShown());
        QVERIFY(card.text().hasFocus());
        QTEST(card.text().text(), "text");
        QTEST(static_cast<int>(card.store.notes().size()), "notes");
        QCOMPARE(card.root().alpha(Face::Card), 1.0);
        QVERIFY(card.root().isHidden(Face::Grid));
    }

    void rapidTogglesEndOnTheRightFace()
    {
        for (const auto &[toggles, spacing] :
             {std::pair(20, 0), {19, 1}, {20, 50}, {19, 150}, {20, 199}, {19, 200}, {20, 201}}) {
            Card card;
            card.summon();
            for (int i = 0; i < toggles; ++i) {
                if (i % 2 == 0)
                    card.controller.enterGridMode();
                else
                    card.discard();
                card.wait(std::chrono::milliseconds(spacing));
            }
            card.wait(longEnough);
            const bool onGrid = toggles % 2 == 1;
            QCOMPARE(card.root().isHidden(Face::Grid), !onGrid);
            QCOMPARE(card.root().isHidden(Face::Card), onGrid);
            QCOMPARE(card.root().alpha(onGrid ? Face::Grid : Face::Card), 1.0);
        }
    }

    void gridForgetsExpiredNotes()
    {
        Card card;
        card.store.setBody(card.store.newNote(), QStringLiteral("old"));
        card.wait(24h);
        card.summon();
        card.type(QStringLiteral("fresh"));
        card.wait(24h * 6 + 1s);
        card.controller.enterGridMode();
        QCOMPARE(card.bodies(), QStringList{u"fresh"_qs});
        QCOMPARE(card.controller.grid().thumbs().size(), 1U);
    }
};

QTEST_MAIN(CardControllerTests)
#include "CardControllerTests.moc"
