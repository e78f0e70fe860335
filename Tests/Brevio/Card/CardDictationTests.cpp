#include "Brevio/Grid/NoteThumbView.h"
#include "Tests/Support/CardFixture.h"

using namespace Brevio;
using namespace std::chrono_literals;

namespace {

/// A card whose user is allowed to dictate, summoned.
struct Card : CardFixture
{
    Card()
    {
        permissions.isRemembered = true;
        summon();
    }

    /// Holds the key until the microphone is open.
    void hold()
    {
        CardFixture::hold();
        permissions.answer(true, true);
        wait(150ms);
    }
    FakeSpeechRecognizer &recognizer() { return *recognizers.shared; }
    void say(const QString &words)
    {
        hold();
        recognizer().report(words);
        release();
    }
    bool isQuiet() const { return !audioEngine.isRunning() && !audioEngine.hasTap(); }
};

} // namespace

class CardDictationTests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void wordsComeBelowTheText()
    {
        for (const auto &[base, text] :
             {std::pair(QString(), u"Two words"_qs), {u"  "_qs, u"  \nTwo words"_qs}}) {
            Card card;
            card.text().setText(base);
            card.hold();
            QVERIFY(card.text().isDictating());
            card.recognizer().report(QStringLiteral("To"));
            card.recognizer().report(QStringLiteral("Two words"));
            QCOMPARE(card.text().text(), text);
            QCOMPARE(card.bodies(), QStringList()); // not before the key is up
            card.release();
            QVERIFY(!card.text().isDictating());
            QVERIFY(card.isQuiet());
            QCOMPARE(card.bodies(), QStringList{text});

            // A second look at what was heard, which replaces the first and no more.
            card.press(Qt::Key_Home, Qt::ControlModifier);
            card.recognizer().finish(QStringLiteral("Two words more"));
            QCOMPARE(card.text().textCursor().position(), 0);
            QCOMPARE(card.bodies(), QStringList{text + u" more"_qs});
            QCOMPARE(card.text().text(), text + u" more"_qs);
        }
    }

    void silenceChangesNothing()
    {
        Card card;
        card.type(QStringLiteral("A line"));
        const auto edited = card.store.notes().front().lastEditedAt;
        card.wait(1h);
        card.say(QString());
        card.recognizer().finish(QString());
        QCOMPARE(card.store.notes().front().lastEditedAt, edited);
        // What seemed a word at first, and was none.
        card.say(QStringLiteral("The"));
        card.recognizer().finish(QString());
        QCOMPARE(card.bodies(), QStringList{u"A line"_qs});
    }

    void whatDoesNotFitIsNotShown()
    {
        Card card;
        card.type(QStringLiteral("A line"));
        const QPoint place = card.controller.panel().pos();
        const auto tooLong = QStringLiteral("words\n").repeated(40);
        card.hold();
        card.recognizer().report(QStringLiteral("Words"));
        card.recognizer().report(tooLong);
        QCOMPARE(card.text().text(), QStringLiteral("A line"));
        card.wait(100ms);
        QVERIFY(card.controller.panel().pos() != place); // it shakes
        card.release();
        card.recognizer().finish(tooLong);
        QCOMPARE(card.bodies(), QStringList{u"A line"_qs});
    }

    void anotherMachinesTextGoesAboveWhatIsSaid()
    {
        Card card;
        card.type(QStringLiteral("Mine"));
        card.hold();
        card.recognizer().report(QStringLiteral("Said"));
        card.editElsewhere(QStringLiteral("Mine and theirs"));
        QCOMPARE(card.text().text(), QStringLiteral("Mine and theirs\nSaid"));
        card.recognizer().report(QStringLiteral("Said more"));
        card.release();
        QCOMPARE(card.bodies(), QStringList{u"Mine and theirs\nSaid more"_qs});
        card.editElsewhere(QStringLiteral("Mine and theirs\nSaid more\nAnd below"));
        card.recognizer().finish(QStringLiteral("Said it all"));
        QCOMPARE(card.bodies(), QStringList{u"Mine and theirs\nSaid it all\nAnd below"_qs});
    }

    void endsWithTheCard()
    {
        const QStringList both{u"A line\nTwo words"_qs};
        const std::initializer_list<std::pair<void (*)(Card &), QStringList>> ends{
            {[](Card &c) { c.summon(); }, both}, // which keeps it
            {[](Card &c) { c.discard(); }, {}},
            {[](Card &c) { c.controller.hide(); }, both},
            {[](Card &c) { c.controller.showFreshCard(); }, both},
            {[](Card &c) { c.controller.enterGridMode(); }, both},
            {[](Card &) { QMetaObject::invokeMethod(qApp, "aboutToQuit"); }, both}};
        for (const auto &[end, bodies] : ends) {
            Card card;
            card.type(QStringLiteral("A line"));
            card.hold();
            card.recognizer().report(QStringLiteral("Two words"));
            end(card);
            QVERIFY(card.isQuiet());
            QVERIFY(!card.text().isDictating());
            QCOMPARE(card.bodies(), bodies);
            const QString shown = card.text().text();
            card.recognizer().report(QStringLiteral("Too late"));
            QCOMPARE(card.text().text(), shown);

            // The next hold records again.
            card.wait(longEnough);
            card.release();
            if (card.controller.mode() == CardMode::Grid)
                card.discard();
            if (!card.controller.panel().isKeyWindow())
                card.summon();
            card.say(QStringLiteral("Again"));
            QVERIFY(card.text().text().endsWith(u"Again"_qs));
        }
    }

    void lastWordsReachTheNoteThatWasKept()
    {
        Card card;
        card.say(QStringLiteral("Two"));
        card.keep();
        card.recognizer().finish(QStringLiteral("Two words"));
        QCOMPARE(card.bodies(), QStringList{u"Two words"_qs});
        QCOMPARE(card.text().text(), QString());
        card.wait(longEnough);

        // Also when nothing had been recognised yet; not when the card was discarded.
        card.summon();
        card.say(QString());
        card.hold();
        card.keep();
        card.release();
        card.summon();
        card.say(QString());
        card.keep();
        card.summon();
        card.say(QString());
        card.discard();
        card.recognizer().finish(QStringLiteral("Three"), 3);
        card.recognizer().finish(QStringLiteral("Four"), 2);
        card.recognizer().finish(QStringLiteral("Five"), 1);
        card.recognizer().finish(QStringLiteral("Six"));
        QCOMPARE(card.bodies(), QStringList({u"Five"_qs, u"Three\nFour"_qs, u"Two words"_qs}));
    }

    void lastWordsReachTheGridAndTheCardOpenedAgain()
    {
        Card card;
        card.say(QStringLiteral("Two"));
        card.controller.enterGridMode();
        card.recognizer().finish(QStringLiteral("Two words"));
        QCOMPARE(card.controller.grid().thumbs().front()->note()->body, u"Two words"_qs);
        card.discard();
        card.say(QStringLiteral("Th"));
        card.controller.enterGridMode();
        card.discard();
        card.say(QStringLiteral("Fo"));
        card.recognizer().finish(QStringLiteral("Three"), 1);
        card.recognizer().finish(QStringLiteral("Four"));
        card.type(QStringLiteral("!"));
        QCOMPARE(card.text().text(), u"Two words\nThree\nFour!"_qs);
        card.discard(); // what came since it was opened again
        QCOMPARE(card.bodies(), QStringList{u"Two words\nThree"_qs});
    }

    void lastWordsReachTheirPlaceAboveWhatIsSaidNext()
    {
        for (const auto &[typed, first, last, text] :
             {std::tuple(u"One"_qs, u"Two"_qs, u"Two words"_qs, u"One\nTwo words\nThree"_qs),
              {{}, {}, u"Two"_qs, u"Two\nThree"_qs},
              {{}, u"Two"_qs, {}, u"Three"_qs}}) {
            Card card;
            card.type(typed);
            card.say(first);
            card.hold();
            card.recognizer().report(QStringLiteral("Three"));
            card.recognizer().finish(last, 1);
            QCOMPARE(card.text().text(), text);
            card.release();
            QCOMPARE(card.bodies(), QStringList{text});
        }

        // Also when both are still missing as the card is kept.
        Card card;
        card.type(QStringLiteral("One"));
        card.say(QString());
        card.say(QStringLiteral("Three"));
        card.keep();
        card.recognizer().finish(QStringLiteral("Two words"), 1);
        card.recognizer().finish(QStringLiteral("Three words"));
        QCOMPARE(card.bodies(), QStringList{u"One\nTwo words\nThree words"_qs});
    }

    void typingGoesOnMeanwhile()
    {
        Card card;
        card.hold();
        card.type(QStringLiteral("typed"));
        card.recognizer().report(QStringLiteral("Said"));
        QCOMPARE(card.text().text(), QStringLiteral("typed\nSaid"));
        card.type(QStringLiteral("!"));
        card.recognizer().report(QStringLiteral("More"));
        QCOMPARE(card.text().text(), QStringLiteral("typed\nSaid!\nMore"));
        card.release();
        card.type(QStringLiteral("."));
        card.recognizer().finish(QStringLiteral("Too late"));
        QCOMPARE(card.bodies(), QStringList{u"typed\nSaid!\nMore."_qs});
        card.say(QStringLiteral("To"));
        card.controller.enterGridMode();
        card.discard();
        card.type(QStringLiteral("morrow"));
        card.recognizer().finish(QStringLiteral("Too late"));
        QVERIFY(card.text().text().endsWith(u"\nTomorrow"_qs));
        // Below them, while nothing had been recognised yet, there is room for them.
        card.erase(int(card.text().text().size()));
        card.say(QString());
        card.type(QStringLiteral("Typed"));
        card.recognizer().finish(QStringLiteral("Said"));
        QCOMPARE(card.bodies(), QStringList{u"Said\nTyped"_qs});
    }

    void listensOnlyOnTheCardItself()
    {
        Card card;
        card.type(QStringLiteral("A line"));
        card.controller.enterGridMode();
        card.wait(longEnough);
        QTest::keyPress(&card.controller.grid(), Qt::Key_Alt, Qt::AltModifier);
        card.wait(longEnough);
        QCOMPARE(card.audioEngine.starts, 0);
        QTest::keyRelease(&card.controller.grid(), Qt::Key_Alt);
        card.discard();
        card.wait(longEnough);
        // Other modifiers make no difference.
        QTest::keyPress(&card.text(), Qt::Key_Control, Qt::ControlModifier | Qt::AltModifier);
        QVERIFY(card.text().isDictating());
        QTest::keyRelease(&card.text(), Qt::Key_Alt);
        QVERIFY(!card.text().isDictating());
    }

    void chordAsksNothing()
    {
        Card card;
        card.permissions.isRemembered = false;
        for (const auto key : {Qt::Key_Shift, Qt::Key_F7}) {
            card.CardFixture::hold();
            QTest::keyPress(&card.text(), key, Qt::AltModifier);
            card.wait(1s);
            card.release();
        }
        QVERIFY(card.permissions.asked.empty());
        card.CardFixture::hold();
        card.wait(300ms);
        QVERIFY(!card.permissions.asked.empty());
    }
};

QTEST_MAIN(CardDictationTests)
#include "CardDictationTests.moc"
