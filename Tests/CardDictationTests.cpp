#include "Brevio/NoteThumbView.h"
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
            card.recognizer().finish(QStringLiteral("Two words more"));
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
        card.hold();
        card.keep();
        card.recognizer().finish(QStringLiteral("Three"));
        QCOMPARE(card.bodies(), QStringList({u"Three"_qs, u"Two words"_qs}));
        card.wait(longEnough);
        card.release();
        card.summon();
        card.hold();
        card.discard();
        card.recognizer().finish(QStringLiteral("Four"));
        QCOMPARE(card.bodies().size(), 2);
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
        card.recognizer().finish(QStringLiteral("Three"));
        QCOMPARE(card.text().text(), u"Two words\nThree"_qs);
    }

    void lastWordsReachTheirPlaceAboveWhatIsSaidNext()
    {
        const QStringList all{u"One\nTwo words\nThree words"_qs};
        Card card;
        card.type(QStringLiteral("One"));
        card.say(QStringLiteral("Two"));
        card.hold();
        card.recognizer().report(QStringLiteral("Three"));
        card.recognizer().finish(QStringLiteral("Two words"), 1);
        QCOMPARE(card.text().text(), u"One\nTwo words\nThree"_qs);
        QCOMPARE(card.bodies(), QStringList{u"One\nTwo words"_qs});
        card.recognizer().report(QStringLiteral("Three words"));
        card.release();
        QCOMPARE(card.bodies(), all);

        // Also when both are still missing as the card is kept.
        card.discard();
        card.wait(longEnough);
        card.summon();
        card.type(QStringLiteral("One"));
        card.say(QString());
        card.say(QStringLiteral("Three"));
        card.keep();
        card.recognizer().finish(QStringLiteral("Two words"), 1);
        card.recognizer().finish(QStringLiteral("Three words"));
        QCOMPARE(card.bodies(), all);
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
