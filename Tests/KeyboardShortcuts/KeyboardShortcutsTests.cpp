#include "KeyboardShortcuts/KeyboardShortcuts.h"
#include "Platform/Keyboard/MenuTracking.h"
#include "Tests/Support/ShortcutsFixture.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace KeyboardShortcuts;
namespace Modifier = Platform::Modifier;

namespace {

const auto summonKey = u"KeyboardShortcuts_summon"_s;
const auto defaultText = uR"({"carbonKeyCode":49,"carbonModifiers":768})"_s;
constexpr FakeHotKeys::Combination summonKeys{49, Modifier::Command | Modifier::Shift};
constexpr FakeHotKeys::Combination otherKeys{45, Modifier::Control | Modifier::Option};
const Shortcut other(45, 6144);

} // namespace

class KeyboardShortcutsTests final : public QObject
{
    Q_OBJECT

    std::optional<ShortcutsFixture> f;
    int m_runs = 0;

    void count() { ++m_runs; }
    QString log() { return f->hotKeys.takeLog(); }
    QJsonValue stored() { return f->defaults.object(summonKey); }

private Q_SLOTS:
    void init()
    {
        f.reset(); // the module first lets go of the former one
        f.emplace();
        m_runs = 0;
    }
    void cleanupTestCase() { f.reset(); }

    void theDefaultIsStoredAndRegisteredOnceAStart()
    {
        (void)Name::summon();
        QCOMPARE(stored(), QJsonValue(defaultText));
        f->defaults.remove(summonKey);
        (void)Name::summon();
        QVERIFY(stored().isUndefined());
        f->restart();
        (void)Name::summon();
        QCOMPARE(stored(), QJsonValue(defaultText));
        QCOMPARE(log(), u"+1 -1 +1"_s);
    }

    void aPressRunsTheActionsOfEveryNameThatHoldsTheShortcut()
    {
        QString ran;
        const auto action = [&](QChar letter) { return [&ran, letter] { ran += letter; }; };
        const Name second(u"second"_s);
        onKeyDown(Name::summon(), action(u'1'));
        onKeyDown(Name::summon(), action(u'+'));
        onKeyUp(Name::summon(), action(u'^'));
        onKeyDown(second, action(u'2'));
        second.setShortcut(Shortcut(49, 768));
        f->hotKeys.press(summonKeys);
        f->hotKeys.release(summonKeys);
        QCOMPARE(ran, u"1+2^"_s);
        setEnabled(false);
        f->hotKeys.press(summonKeys);
        QCOMPARE(ran.size(), 4);
        setEnabled(true);
        f->hotKeys.press(summonKeys);
        QCOMPARE(ran.size(), 7);
    }

    void aNewShortcutTakesTheNextIdAlsoWhenItIsTheSame()
    {
        onKeyDown(Name::summon(), [this] { count(); });
        Name::summon().setShortcut(other);
        f->hotKeys.press(summonKeys);
        QCOMPARE(m_runs, 0);
        f->hotKeys.press(otherKeys);
        QCOMPARE(m_runs, 1);
        Name::summon().setShortcut(other);
        QCOMPARE(log(), u"+1 -1 +2 -2 +3"_s);
        QCOMPARE(stored().toString(), *other.toJson());
    }

    void aRefusedShortcutIsTriedAgainAfterAMenuOnly()
    {
        f->hotKeys.answer(10);
        onKeyDown(Name::summon(), [] {});
        f->hotKeys.answer(Platform::HotKeys::success);
        onKeyDown(Name::summon(), [] {});
        QCOMPARE(log(), u"!1"_s);
        Name::summon().setShortcut(other);
        for (const auto status : {10, Platform::HotKeys::success}) {
            f->hotKeys.answer(status);
            f->center.post(Platform::MenuTracking::didBeginTracking);
            f->center.post(Platform::MenuTracking::didEndTracking);
        }
        QCOMPARE(log(), u"+2 -2 !2 +2"_s);
    }

    void anActionMayChangeTheShortcutThatRunsIt()
    {
        onKeyDown(Name::summon(), [this] {
            count();
            Name::summon().setShortcut(std::nullopt);
            onKeyDown(Name::summon(), [this] { count(); });
        });
        f->hotKeys.press(summonKeys);
        QCOMPARE(m_runs, 1);
        QCOMPARE(log(), u"+1 -1"_s);
        QCOMPARE(stored(), QJsonValue(false));
    }
};

QTEST_MAIN(KeyboardShortcutsTests)
#include "KeyboardShortcutsTests.moc"
