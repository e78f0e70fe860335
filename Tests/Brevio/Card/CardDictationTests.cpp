#include "Brevio/Grid/NoteThumbView.h"
#include "Tests/Support/CardFixture.h"
#include "Tests/Support/TableRow.h"

using namespace Brevio;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// A card whose user is allowed to dictate, summoned and written on.
struct Card : CardFixture
{
    explicit Card(const QString &typed = {})
    {
        permissions.isRemembered = true;
        write(typed);
    }
};

} // namespace

class CardDictationTests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void wordsComeBelowTheText()
    {
        for (const auto &[base, text] :
             {std::pair(QString(), u"Two words"_s), {u"  "_s, u"  \nTwo words"_s}}) {
            const TableRow row(base);
            Card card;
            card.text().setText(base);
            card.holdAndSay(u"To"_s);
            QCOMPARE(card.text().viewport()->cursor().shape(), Qt::BitmapCursor);
            card.recognizer().report(u"Two words"_s);
            QCOMPARE(card.text().text(), text);
            QCOMPARE(card.bodies(), QStringList()); // not before the key is up
            card.release();
            QVERIFY(card.isQuiet());
            QCOMPARE(card.text().viewport()->cursor().shape(), Qt::IBeamCursor);
            QCOMPARE(card.bodies(), QStringList{text});

            // A second look at what was heard, which replaces the first and no more.
            card.press(Qt::Key_Home, Qt::ControlModifier);
            card.recognizer().finish(u"Two words more"_s);
            QCOMPARE(card.text().textCursor().position(), 0);
            QCOMPARE(card.bodies(), QStringList{text + u" more"_s});
            QCOMPARE(card.text().text(), text + u" more"_s);
        }
    }

    void whatDoesNotFitIsNotShown()
    {
        Card card(u"A line"_s);
        const QPoint place = card.controller.panel().pos();
        const auto tooLong = u"words\n"_s.repeated(40);
        card.holdAndSay(u"Words"_s);
        card.recognizer().report(tooLong);
        QCOMPARE(card.text().text(), u"A line"_s);
        card.wait(100ms);
        QVERIFY(card.controller.panel().pos() != place); // it shakes
        card.release();
        card.recognizer().finish(tooLong);
        QCOMPARE(card.bodies(), QStringList{u"A line"_s});
    }

    void anotherMachinesTextGoesAboveWhatIsSaid()
    {
        Card card(u"Mine"_s);
        card.holdAndSay(u"Said"_s);
        card.editElsewhere(u"Mine and theirs"_s);
        QCOMPARE(card.text().text(), u"Mine and theirs\nSaid"_s);
        card.recognizer().report(u"Said more"_s);
        card.release();
        QCOMPARE(card.bodies(), QStringList{u"Mine and theirs\nSaid more"_s});
        card.editElsewhere(u"Mine and theirs\nSaid more\nAnd below"_s);
        card.recognizer().finish(u"Said it all"_s);
        QCOMPARE(card.bodies(), QStringList{u"Mine and theirs\nSaid it all\nAnd below"_s});
    }

    void endsWithTheCard()
    {
        const QStringList both{u"A line\nTwo words"_s};
        using End = void (*)(Card &);
        const std::initializer_list<std::tuple<const char *, End, QStringList>> ends{
            {"kept", [](Card &c) { c.summon(); }, both},
            {"discarded", [](Card &c) { c.discard(); }, {}},
            {"hidden", [](Card &c) { c.controller.hide(); }, both},
            {"another", [](Card &c) { c.controller.showFreshCard(); }, both},
            {"grid", [](Card &c) { c.controller.enterGridMode(); }, both},
            {"faded",
             [](Card &c) {
                 c.keep();
                 c.release();
                 c.hold();
                 c.wait(longEnough);
             },
             both},
            {"quit", [](Card &) { QMetaObject::invokeMethod(qApp, "aboutToQuit"); }, both}};
        for (const auto &[name, end, bodies] : ends) {
            const TableRow row(QString::fromLatin1(name));
            Card card(u"A line"_s);
            card.holdAndSay(u"Two words"_s);
            end(card);
            QVERIFY(card.isQuiet());
            QCOMPARE(card.bodies(), bodies);
            const QString shown = card.text().text();
            card.recognizer().report(u"Too late"_s);
            QCOMPARE(card.text().text(), shown);

            // The next hold records again.
            card.wait(longEnough);
            card.release();
            if (card.controller.mode() == CardMode::Grid)
                card.discard();
            if (!card.controller.panel().isKeyWindow())
                card.summon();
            card.say(u"Again"_s);
            QVERIFY(card.text().text().endsWith(u"Again"_s));
        }
    }

    void lastWordsReachTheNoteThatWasKept()
    {
        Card card(u"One"_s);
        card.say(QString());
        card.holdAndSay(u"Thr"_s);
        card.keep();
        card.release();
        card.wait(longEnough);
        // A new one where nothing had been recognised yet; none where the card was discarded.
        card.write(u"x\b"_s);
        card.say(QString());
        card.say(QString());
        card.keep();
        card.summon();
        card.say(QString());
        card.discard();
        int before = 5;
        for (const auto &words : {u"Two"_s, u"Three"_s, u"Four"_s, u"Five"_s, u"Six"_s})
            card.recognizer().finish(words, --before);
        QCOMPARE(card.bodies(), QStringList({u"Four\nFive"_s, u"One\nTwo\nThree"_s}));
        QCOMPARE(card.text().text(), QString());
    }

    void lastWordsReachTheGridAndTheCardOpenedAgain()
    {
        Card card;
        card.say(u"Two"_s);
        card.controller.enterGridMode();
        card.recognizer().finish(u"Two words"_s);
        QCOMPARE(card.controller.grid().thumbs().front()->note()->body, u"Two words"_s);
        card.discard();
        card.say(u"Th"_s);
        card.controller.enterGridMode();
        card.discard();
        card.say(u"Fo"_s);
        card.recognizer().finish(u"Three"_s, 1);
        card.recognizer().finish(u"Four"_s);
        card.type(u"!"_s);
        QCOMPARE(card.text().text(), u"Two words\nThree\nFour!"_s);
        card.discard(); // what came since it was opened again
        QCOMPARE(card.bodies(), QStringList{u"Two words\nThree"_s});
    }

    void lastWordsReachTheirPlaceAboveWhatIsSaidNext()
    {
        for (const auto &[typed, first, last, text] :
             {std::tuple(u"One"_s, u"Two"_s, u"Two words"_s, u"One\nTwo words\nThree"_s),
              {{}, {}, u"Two"_s, u"Two\nThree"_s},
              {{}, u"Two"_s, {}, u"Three"_s}}) {
            const TableRow row(typed + first + last);
            Card card(typed);
            card.say(first);
            card.holdAndSay(u"Three"_s);
            card.recognizer().finish(last, 1);
            QCOMPARE(card.text().text(), text);
            card.recognizer().report(u"Three"_s);
            QCOMPARE(card.text().text(), text);
            card.release();
            QCOMPARE(card.bodies(), QStringList{text});
        }
    }

    void typingGoesOnMeanwhile()
    {
        Card card;
        card.hold();
        card.type(u"typed"_s);
        card.recognizer().report(u"Said"_s);
        QCOMPARE(card.text().text(), u"typed\nSaid"_s);
        card.type(u"!"_s);
        QCOMPARE(card.recognizer().tasks.size(), 2U);
        card.recognizer().report(u"More"_s);
        QCOMPARE(card.text().text(), u"typed\nSaid!\nMore"_s);
        card.release();
        card.type(u"."_s);
        card.recognizer().finish(u"Too late"_s);
        QCOMPARE(card.bodies(), QStringList{u"typed\nSaid!\nMore."_s});
        // Below them, while nothing had been recognised yet, there is room for them.
        card.text().selectAll();
        card.type(u"\b"_s);
        card.say(QString());
        card.type(u"Typed"_s);
        card.recognizer().finish(u"Said"_s);
        QCOMPARE(card.bodies(), QStringList{u"Said\nTyped"_s});
    }

    void listensOnlyOnTheCardItself()
    {
        Card card(u"A line"_s);
        const auto begins = [&card](QWidget *focus) {
            QTest::keyPress(focus, Qt::Key_Alt, Qt::AltModifier);
            return card.text().isDictating() || !card.permissions.asked.empty();
        };
        card.elsewhere.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&card.elsewhere));
        QVERIFY2(!begins(&card.text()), "without the keyboard");
        QTest::keyRelease(&card.text(), Qt::Key_Alt);
        card.summon(); // takes the keyboard
        card.controller.enterGridMode();
        QVERIFY2(!begins(&card.controller.grid()), "in the grid");
        QTest::keyRelease(&card.controller.grid(), Qt::Key_Alt);
        card.discard();
        QVERIFY(begins(&card.text()));
    }

    void chordAsksNothing()
    {
        Card card;
        card.permissions.isRemembered = false;
        for (const auto key : {Qt::Key_Shift, Qt::Key_F7}) {
            card.pressAlt();
            QTest::keyPress(&card.text(), key, Qt::AltModifier);
            card.wait(1s);
            card.release();
        }
        QVERIFY(card.permissions.asked.empty());
        card.pressAlt();
        card.wait(300ms);
        QVERIFY(!card.permissions.asked.empty());
    }
};

QTEST_MAIN(CardDictationTests)
#include "CardDictationTests.moc"
