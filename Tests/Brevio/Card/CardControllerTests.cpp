#include "Tests/Support/CardFixture.h"

using namespace Brevio;
using namespace std::chrono_literals;
using Card = CardFixture;
using Face = RootContainer::Face;

class CardControllerTests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void newCardEndsAsTheLastKeySays()
    {
        const std::initializer_list<std::tuple<QString, int, bool, QString>> cases{
            {u"  word \t"_qs, 0, true, u"Note saved"_qs},
            {u"   "_qs, 0, true, {}},
            {u"x"_qs, 1, true, {}},
            {u"word"_qs, 0, false, u"Note discarded"_qs},
            {{}, 0, false, {}}};
        for (const auto &[typed, erased, kept, toast] : cases) {
            Card card;
            card.summon();
            card.pin(); // a blank card has nothing to pin
            card.type(typed);
            // In the store at once; blank text makes no record.
            QCOMPARE(card.bodies(), typed.trimmed().isEmpty() ? QStringList() : QStringList{typed});
            card.erase(erased);
            kept ? card.keep() : card.discard();

            QCOMPARE(card.toast(), toast);
            QCOMPARE(card.isShown(), !toast.isEmpty());
            QVERIFY(!card.controller.activeNoteID());
            QCOMPARE(card.text().text(), QString());
            QCOMPARE(card.bodies(), toast == u"Note saved" ? QStringList{typed} : QStringList());
            card.wait(761ms); // a toast, and the fade after it
            QVERIFY(!card.isShown());
        }
    }

    void openedNoteEndsAsTheLastKeySays()
    {
        const std::initializer_list<std::tuple<QString, int, bool, QString, bool, QString>> cases{
            {u"m"_qs, 0, true, u"team"_qs, true, u"Note saved"_qs},
            {{}, 3, true, {}, false, {}},
            {{}, 0, false, u"tea"_qs, false, {}},
            {u"m"_qs, 0, false, u"tea"_qs, false, u"Changes discarded"_qs},
            {{}, 3, false, u"tea"_qs, false, u"Changes discarded"_qs},
            {u"m"_qs, 1, false, u"tea"_qs, true, {}}}; // there is nothing to discard
        for (const auto &[typed, erased, kept, body, hasNewTime, toast] : cases) {
            Card card;
            const QUuid id = card.openExisting(QStringLiteral("tea"));
            const Note before = *card.store.note(id);
            card.type(typed);
            card.erase(erased);
            kept ? card.summon() : card.discard();

            QCOMPARE(card.toast(), toast);
            const auto after = card.store.note(id);
            QCOMPARE(after ? after->body : QString(), body);
            if (after) {
                QCOMPARE(after->createdAt, before.createdAt);
                QCOMPARE(after->lastEditedAt > before.lastEditedAt, hasNewTime);
            }
            if (toast.isEmpty())
                continue;
            card.type(QStringLiteral("new")); // while the toast still shows
            card.discard();
            QCOMPARE(card.bodies(), QStringList{body});
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
        card.erase(1);
        card.controller.enterGridMode();
        card.controller.grid().onThumbClick(other);
        QCOMPARE(card.text().text(), QStringLiteral("other"));
        QCOMPARE(card.bodies(), (QStringList{u"mine"_qs, u"other"_qs}));
    }

    void everyWayOutOfTheGridEndsOnTheCard()
    {
        const std::initializer_list<std::tuple<void (*)(Card &), QString, std::size_t>> ways{
            {[](Card &card) { card.discard(); }, u"mine"_qs, 1},
            {[](Card &card) { card.keep(); }, u"mine"_qs, 1},
            {[](Card &card) { card.summon(); }, u"mine"_qs, 1},
            {[](Card &card) { card.controller.grid().onNewCardTapped(); }, {}, 1},
            {[](Card &card) {
                 card.controller.grid().onThumbDelete(*card.controller.activeNoteID());
                 card.discard();
             },
             {},
             0},
            {[](Card &card) { card.controller.grid().onThumbClick(QUuid()); }, {}, 1}};
        for (const auto &[leave, text, notes] : ways) {
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
            QVERIFY(card.isShown() && card.text().hasFocus());
            QCOMPARE(card.text().text(), text);
            QCOMPARE(card.store.notes().size(), notes);
        }
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
