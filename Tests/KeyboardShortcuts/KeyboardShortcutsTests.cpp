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
const Shortcut other(45, 6144);

} // namespace

class KeyboardShortcutsTests final : public QObject
{
    Q_OBJECT

    std::optional<ShortcutsFixture> f;

    QString log() { return f->hotKeys.takeLog(); }
    QJsonValue stored() { return f->defaults.object(summonKey); }

private Q_SLOTS:
    void init()
    {
        f.reset(); // the module first lets go of the former one
        f.emplace();
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
        Name::summon().setShortcut(std::nullopt);
        f->restart();
        (void)Name::summon();
        QCOMPARE(stored(), QJsonValue(false));
    }

    void aPressRunsTheActionsOfEveryNameThatHoldsTheShortcut()
    {
        QString ran;
        const Name second(u"second"_s);
        onKeyDown(Name::summon(), [&] { ran += u'1'; });
        onKeyUp(Name::summon(), [&] { ran += u'^'; });
        onKeyDown(second, [&] { ran += u'2'; });
        second.setShortcut(Shortcut(49, 768));
        f->hotKeys.press(summonKeys);
        f->hotKeys.release(summonKeys);
        QCOMPARE(ran, u"12^"_s);
    }

    void aNewShortcutTakesTheNextIdAlsoWhenItIsTheSame()
    {
        onKeyDown(Name::summon(), [] {});
        Name::summon().setShortcut(other);
        Name::summon().setShortcut(other);
        QCOMPARE(log(), u"+1 -1 +2 -2 +3"_s);
        QCOMPARE(stored().toString(), *other.toJson());
    }

    void aMenuHoldsBackTheShortcutAndARefusedOneIsTriedAgainAfterIt()
    {
        onKeyDown(Name::summon(), [] {});
        for (const auto status : {10, Platform::HotKeys::success}) {
            f->hotKeys.answer(status);
            f->center.post(Platform::MenuTracking::didBeginTracking);
            f->center.post(Platform::MenuTracking::didEndTracking);
        }
        QCOMPARE(log(), u"+1 -1 !1 +1"_s);
    }
};

QTEST_MAIN(KeyboardShortcutsTests)
#include "KeyboardShortcutsTests.moc"
