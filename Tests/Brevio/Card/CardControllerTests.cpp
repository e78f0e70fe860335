#include "Brevio/CardColors.h"
#include "Brevio/Grid/NoteThumbView.h"
#include "Tests/Support/CardFixture.h"
#include "Tests/Support/TableRow.h"

#include <QAccessible>

using namespace Brevio;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Card = CardFixture;
using Face = RootContainer::Face;

class CardControllerTests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cardEndsAsTheLastKeySays()
    {
        struct Case
        {
            QString opened, typed;
            bool isKept;
            QString left, toast;
        };
        const std::initializer_list<Case> cases{
            {{}, u"  word \t"_s, true, u"  word \t"_s, u"Note saved"_s},
            {{}, u"   "_s, true, {}, {}},
            {{}, u"x\b"_s, true, {}, {}},
            {{}, u"word"_s, false, {}, u"Note discarded"_s},
            {{}, {}, false, {}, {}},
            {u"tea"_s, u"m"_s, true, u"team"_s, u"Note saved"_s},
            {u"tea"_s, u"\b\b\b"_s, true, {}, {}},
            {u"tea"_s, {}, false, u"tea"_s, {}},
            {u"tea"_s, u"m"_s, false, u"tea"_s, u"Changes discarded"_s},
            {u"tea"_s, u"\b\b\b"_s, false, u"tea"_s, u"Changes discarded"_s},
            {u"tea"_s, u"m\b"_s, false, u"tea"_s, {}}}; // there is nothing to discard
        for (const auto &[opened, typed, isKept, left, toast] : cases) {
            const TableRow row(opened + u'+' + typed + u' ' + toast);
            Card card;
            const auto start = card.clock.now();
            opened.isEmpty() ? card.summon() : (void)card.openExisting(opened);
            card.type(typed);
            // What it shows is in the store at once; blank text makes no record.
            const QString shown = card.text().text();
            QCOMPARE(card.bodies().value(0), shown.trimmed().isEmpty() ? QString() : shown);
            isKept ? card.summon() : card.discard();

            QCOMPARE(card.toast(), toast);
            QCOMPARE(card.isShown(), !toast.isEmpty());
            QVERIFY(!card.controller.activeNoteID() && card.text().text().isEmpty());
            if (card.isShown()) {
                card.type(u"new"_s); // under the toast
                card.discard();
            }
            QCOMPARE(card.bodies(), left.isEmpty() ? QStringList() : QStringList{left});
            if (!left.isEmpty() && !opened.isEmpty()) {
                const bool isEdited = !typed.isEmpty() && toast != u"Changes discarded";
                QCOMPARE(card.store.notes().front().createdAt, start);
                QCOMPARE(card.store.notes().front().lastEditedAt > start, isEdited);
            }
        }
    }

    void discardSparesWhatAnotherMachineWrote()
    {
        for (const auto &[theirs, left] : {std::pair(u"team and milk"_s, u"team and milk"_s),
                                           {u"team"_s, u"tea"_s}}) { // as it is here already
            const TableRow row(theirs);
            Card card;
            card.openExisting(u"tea"_s);
            card.type(u"m"_s);
            card.editElsewhere(theirs);
            QVERIFY(!card.card().isPinIndicatorHidden());
            const auto edited = card.clock.now();
            card.wait(1s);
            card.type(u"s"_s); // where the caret was
            QVERIFY(card.bodies().constFirst().startsWith(u"teams"));
            card.discard();
            QCOMPARE(card.bodies(), QStringList{left});
            QCOMPARE(card.store.notes().front().lastEditedAt == edited, left == theirs);
        }
    }

    void refusedEditShakesAndLeavesTheStoreWithWhatTheCardShows()
    {
        Card card;
        card.write(u"a"_s);
        for (int i = 0; i < 12; ++i)
            card.press(Qt::Key_Return);
        const QString elevenLines = u"a"_s + QString(10, u'\n');
        QCOMPARE(card.text().text(), elevenLines);
        QCOMPARE(card.bodies(), QStringList{elevenLines});
        const QPointF rest = card.screens.placements.back();
        card.wait(50ms);
        QVERIFY(card.screens.placements.back() != rest);
    }

    void onlyTheExactKeysPinAndKeep()
    {
        Card card;
        card.summon();
        card.pin(); // a blank card has nothing to pin
        card.type(u"ab"_s);
        card.press(Qt::Key_K, Qt::ControlModifier);
        QVERIFY2(!card.store.notes().front().isPinned, "nor has Ctrl+K without Shift");
        card.pin();
        QVERIFY(card.store.notes().front().isPinned && !card.card().isPinIndicatorHidden());
        card.pin();
        QVERIFY(!card.store.notes().front().isPinned && card.card().isPinIndicatorHidden());
        card.press(Qt::Key_Enter, Qt::ControlModifier | Qt::KeypadModifier);
        QVERIFY2(card.controller.activeNoteID(), "the keypad's Enter keeps nothing");
        card.pin();
        card.press(Qt::Key_Return, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(card.toast(), u"Note saved"_s);
        card.controller.showFreshCard();
        QVERIFY2(card.card().isPinIndicatorHidden(), "the mark is the note's");
    }

    void messageTakesThePanelWithIt()
    {
        Card card;
        card.write(u"word"_s);
        card.keep();
        card.wait(140ms);
        QVERIFY(card.root().alpha(Face::Toast) == 1.0 && card.root().alpha(Face::Card) == 0.0);
        const auto picture = [&card] { return card.root().grab({22, 22, 416, 90}).toImage(); };
        const QImage noText = picture();
        card.type(u"next"_s);
        QCOMPARE(picture(), noText);
        card.wait(420ms);
        QVERIFY(card.root().alpha(Face::Toast) == 1.0 && card.controller.panel().alpha() == 1.0);
        card.wait(199ms);
        QVERIFY(card.root().alpha(Face::Toast) < 0.1 && card.controller.panel().alpha() < 0.1);
        QVERIFY(card.isShown());
        card.wait(1ms);
        QVERIFY(!card.isShown());
    }

    void whatIsOpenedDuringTheMessageStays()
    {
        for (const int moment : {50, 300, 650, -50, -300, -650}) { // negative: the grid
            const TableRow row(QString::number(moment));
            const Face face = moment > 0 ? Face::Card : Face::Grid;
            Card card;
            card.write(u"first"_s);
            card.keep();
            card.wait(std::chrono::milliseconds(std::abs(moment)));
            if (face == Face::Card) {
                card.summon(); // the card is key and blank: it goes at once
                QVERIFY(!card.isShown());
                card.summon();
            } else {
                card.controller.enterGridMode();
            }
            card.wait(longEnough);
            QVERIFY(card.isShown() && card.controller.panel().alpha() == 1.0);
            QCOMPARE(card.root().alpha(face), 1.0);
            QCOMPARE(card.root().alpha(Face::Toast), 0.0);
        }
    }

    void noteThatVanishedUnderTheCardIsNotBroughtBack()
    {
        Card card;
        const QUuid id = card.openExisting(u"shared"_s);
        card.store.deleteNote(id);
        card.type(u"!"_s);
        card.pin();
        card.keep();
        QVERIFY(card.store.notes().empty());
    }

    void gridReturnsToTheNoteTheUserChose()
    {
        Card card;
        const QUuid other = card.store.newNote();
        card.store.setBody(other, u"other"_s);
        card.wait(1s);
        // Back on its own note: it counts as opened now, so discarding has nothing to undo.
        card.write(u"mine"_s);
        card.controller.enterGridMode();
        card.discard();
        QCOMPARE(card.text().text(), u"mine"_s);
        card.discard();
        QCOMPARE(card.bodies(), (QStringList{u"mine"_s, u"other"_s}));

        // A blank record is dropped when the user turns to another note.
        card.write(u"x\b"_s);
        card.controller.enterGridMode();
        card.controller.grid().onThumbClick(other);
        QCOMPARE(card.text().text(), u"other"_s);
        QCOMPARE(card.bodies(), (QStringList{u"mine"_s, u"other"_s}));
    }

    void everyWayOutOfTheGridEndsOnTheCard()
    {
        using Way = void (*)(Card &);
        const std::initializer_list<std::tuple<const char *, Way, QString, std::size_t>> ways{
            {"Escape", [](Card &card) { card.discard(); }, u"mine"_s, 1},
            {"Ctrl+Return", [](Card &card) { card.keep(); }, u"mine"_s, 1},
            {"the shortcut", [](Card &card) { card.summon(); }, u"mine"_s, 1},
            {"the plus", [](Card &card) { card.controller.grid().onNewCardTapped(); }, {}, 1},
            {"deleted",
             [](Card &card) {
                 card.controller.grid().onThumbDelete(*card.controller.activeNoteID());
                 card.discard();
             },
             {},
             0},
            {"closed",
             [](Card &card) {
                 card.controller.panel().close();
                 card.summon();
             },
             {},
             1},
            {"gone", [](Card &card) { card.controller.grid().onThumbClick(QUuid()); }, {}, 1}};
        for (const auto &[name, leave, text, notes] : ways) {
            const TableRow row(QString::fromLatin1(name));
            Card card;
            card.write(u"mine"_s);
            card.controller.enterGridMode();
            card.wait(199ms);
            QVERIFY(!card.root().isHidden(Face::Card) && card.root().alpha(Face::Card) > 0.0);
            QCOMPARE(card.root().childAt(200, 100), &card.controller.grid());
            card.wait(1ms);
            QVERIFY(card.root().isHidden(Face::Card) && card.root().alpha(Face::Card) == 0.0);
            card.pin();
            QVERIFY2(!card.store.notes().front().isPinned, "the pin key is swallowed in the grid");
            leave(card);
            QCOMPARE(card.controller.mode(), CardMode::Card);
            QVERIFY(card.text().hasFocus()); // at once
            QCOMPARE(card.root().childAt(200, 100), card.text().viewport());
            card.wait(longEnough);
            QVERIFY(card.isShown() && card.root().isHidden(Face::Grid));
            QCOMPARE(card.text().text(), text);
            QCOMPARE(card.store.notes().size(), notes);
        }
    }

    void rapidTogglesEndOnTheRightFace()
    {
        for (const auto &[toggles, spacing] : {std::pair(20, 0), {19, 1}, {20, 150}, {19, 200}}) {
            const TableRow row(QString::number(spacing));
            Card card;
            card.summon();
            for (int i = 0; i < toggles; ++i) {
                card.card().onGridButtonTapped();
                card.wait(std::chrono::milliseconds(spacing));
            }
            card.wait(longEnough);
            const bool onGrid = toggles % 2 == 1;
            QVERIFY(card.root().isHidden(onGrid ? Face::Card : Face::Grid));
            QVERIFY(!card.root().isHidden(onGrid ? Face::Grid : Face::Card));
            QCOMPARE(card.root().alpha(onGrid ? Face::Grid : Face::Card), 1.0);
        }
    }

    void gridForgetsExpiredNotes()
    {
        Card card;
        card.store.setBody(card.store.newNote(), u"old"_s);
        card.wait(24h);
        card.write(u"fresh"_s);
        card.wait(24h * 6 + 1s);
        card.controller.enterGridMode();
        QCOMPARE(card.bodies(), QStringList{u"fresh"_s});
        QCOMPARE(card.controller.grid().thumbs().size(), 1U);
        // Which is pinned there.
        card.controller.grid().onThumbPinToggle(card.store.notes().front().id);
        QVERIFY(card.controller.grid().thumbs().front()->note()->isPinned);
    }

    void gridButtonIsThereAndShowsWhileThePointerMoves()
    {
        Card card;
        card.summon();
        QMouseEvent move(QEvent::MouseMove, QPointF(5, 5), {}, Qt::NoButton, {}, {});
        // Over the margin, the text and the button itself.
        for (const QPoint place : {QPoint(200, 5), {200, 100}, {440, 260}}) {
            QApplication::sendEvent(card.root().childAt(place), &move);
            card.wait(999ms);
            QCOMPARE(card.card().gridButtonAlpha(), 1.0);
        }
        card.wait(181ms);
        QCOMPARE(card.card().gridButtonAlpha(), 0.0);
        QCOMPARE(card.root().childAt(432, 252)->cursor().shape(), Qt::PointingHandCursor);
        // Also for a screen reader while it is transparent.
        auto *button = QAccessible::queryAccessibleInterface(card.root().childAt(432, 252));
        button->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QTRY_COMPARE(card.controller.mode(), CardMode::Grid);
    }

    void facesAtRestAreCoveredAtTheEdgeOnly()
    {
        Card card;
        card.summon();
        const auto *veil = qobject_cast<QWidget *>(card.root().children().constLast());
        for (const QPoint place : {QPoint(230, 5), {5, 140}})
            QVERIFY(!veil->mask().contains(place));
        QVERIFY(veil->mask().contains(QPoint(2, 2)));
    }

    void inkFollowsTheAppearanceWhileTheCardIsOpen()
    {
        Card card;
        card.summon();
        card.appearance.setScheme(Platform::ColorScheme::Dark);
        for (const auto role : {QPalette::Text, QPalette::HighlightedText})
            QCOMPARE(card.text().palette().color(role), CardColors::cardInk().dark);
    }
};

QTEST_MAIN(CardControllerTests)
#include "CardControllerTests.moc"
