#include "KeyboardShortcuts/KeyboardShortcuts.h"
#include "KeyboardShortcuts/NSMenuItem++.h"
#include "Platform/Keyboard/MenuTracking.h"
#include "Tests/Support/ShortcutsFixture.h"

#include <QAction>
#include <QMenu>
#include <QTest>

#include <unistd.h>

using namespace KeyboardShortcuts;
namespace Modifier = Platform::Modifier;

namespace {

const auto summonKey = QStringLiteral("KeyboardShortcuts_summon");
const auto defaultText = QStringLiteral(R"({"carbonKeyCode":49,"carbonModifiers":768})");
constexpr FakeHotKeys::Combination summonKeys{49, Modifier::Command | Modifier::Shift};
constexpr FakeHotKeys::Combination otherKeys{45, Modifier::Control | Modifier::Option};
const Shortcut other(45, 6144);

/// Everything that reaches standard output while it lives.
class CapturedOutput final
{
public:
    CapturedOutput()
    {
        std::fflush(stdout);
        m_saved = dup(STDOUT_FILENO);
        dup2(fileno(m_file), STDOUT_FILENO);
    }
    ~CapturedOutput()
    {
        (void)text();
        std::fclose(m_file);
    }

    /// Read past the buffer of the C library: what was not flushed is not there.
    QByteArray text()
    {
        if (m_saved >= 0) {
            dup2(std::exchange(m_saved, -1), STDOUT_FILENO);
            m_text.resize(4096);
            m_text.resize(std::max<ssize_t>(0, pread(fileno(m_file), m_text.data(), 4096, 0)));
        }
        return m_text;
    }

private:
    std::FILE *m_file = std::tmpfile();
    int m_saved = -1;
    QByteArray m_text;
};

} // namespace

class KeyboardShortcutsTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theFirstStartStoresAndRegistersTheDefault();
    void whatIsStoredDecidesWhatTheNextStartRegisters_data();
    void whatIsStoredDecidesWhatTheNextStartRegisters();
    void aNameIsCreatedOnce();
    void aPressRunsTheActionsOfEveryNameThatHoldsTheShortcut();
    void nothingRunsWhilePaused();
    void aNewShortcutTakesTheNextId();
    void theSameShortcutAgainIsRegisteredAgain();
    void clearingStopsTheShortcutUntilAnotherIsSet();
    void clearingANameWithoutADefaultLeavesNothing();
    void clearingNothingChangesNothing();
    void aRefusalIsOneLineAtOnceAndIsNotTriedAgain();
    void aShortcutThatCannotBeStoredChangesNothing();
    void aMenuWithdrawsTheHotKeysAndWatchesTheKeys();
    void disablingWithdrawsEverything();
    void aRefusalAfterTheMenuIsTriedAgainAfterTheNext();
    void foreignAndUnknownIdsAreIgnored();
    void anActionMayChangeTheShortcutThatRunsIt();
    void aMenuItemFollowsTheNameOnTheMainQueue();
    void aMenuItemWithoutANameShowsNothing();
};

void KeyboardShortcutsTests::theFirstStartStoresAndRegistersTheDefault()
{
    ShortcutsFixture f;
    QStringList changed;
    const auto observer =
        f.center.addObserver(shortcutByNameDidChange, [&](const QVariantMap &info) {
            changed << info.value(QStringLiteral("name")).value<Name>().rawValue();
        });
    const auto summon = Name::summon();
    QCOMPARE(f.defaults.object(summonKey), QJsonValue(defaultText));
    QCOMPARE(f.hotKeys.registered().size(), std::size_t(1));
    const auto &[id, keys] = *f.hotKeys.registered().begin();
    QCOMPARE(id.signature, 0x48544B59U);
    QCOMPARE(id.id, 1U);
    QVERIFY(keys == summonKeys);
    QCOMPARE(changed, QStringList{QStringLiteral("summon")});
    QCOMPARE(summon.shortcut(), std::optional(Shortcut(49, 768)));
}

void KeyboardShortcutsTests::whatIsStoredDecidesWhatTheNextStartRegisters_data()
{
    QTest::addColumn<QJsonValue>("stored");
    QTest::addColumn<QStringList>("log");
    const QStringList none;
    QTest::newRow("the user's own")
        << QJsonValue(*other.toJson()) << QStringList{QStringLiteral("+1")};
    QTest::newRow("cleared") << QJsonValue(false) << none;
    QTest::newRow("not JSON") << QJsonValue(QStringLiteral("{")) << none;
    QTest::newRow("not a text") << QJsonValue(49) << none;
    QTest::newRow("an object") << QJsonValue(QJsonObject{{QStringLiteral("carbonKeyCode"), 49},
                                                         {QStringLiteral("carbonModifiers"), 768}})
                               << none;
}

void KeyboardShortcutsTests::whatIsStoredDecidesWhatTheNextStartRegisters()
{
    QFETCH(QJsonValue, stored);
    ShortcutsFixture f;
    f.defaults.set(summonKey, stored);
    onKeyDown(Name::summon(), [] {});
    QTEST(f.hotKeys.takeLog(), "log");
    QCOMPARE(f.defaults.object(summonKey), stored);
}

void KeyboardShortcutsTests::aNameIsCreatedOnce()
{
    ShortcutsFixture f;
    (void)Name::summon();
    onKeyDown(Name::summon(), [] {});
    QCOMPARE(f.hotKeys.takeLog(), QStringList{QStringLiteral("+1")});
    f.defaults.remove(summonKey);
    (void)Name::summon();
    QVERIFY(!f.defaults.contains(summonKey));
    f.restart();
    (void)Name::summon();
    QVERIFY(f.defaults.contains(summonKey));
}

void KeyboardShortcutsTests::aPressRunsTheActionsOfEveryNameThatHoldsTheShortcut()
{
    ShortcutsFixture f;
    QStringList ran;
    const Name second(QStringLiteral("second")), third(QStringLiteral("third"), other);
    onKeyDown(Name::summon(), [&] { ran << QStringLiteral("first"); });
    onKeyDown(Name::summon(), [&] { ran << QStringLiteral("and then"); });
    onKeyUp(Name::summon(), [&] { ran << QStringLiteral("up"); });
    onKeyDown(second, [&] { ran << QStringLiteral("second"); });
    onKeyDown(third, [&] { ran << QStringLiteral("third"); });
    second.setShortcut(Shortcut(49, 768));
    f.hotKeys.press(summonKeys);
    QCOMPARE(std::exchange(ran, {}),
             QStringList(
                 {QStringLiteral("first"), QStringLiteral("and then"), QStringLiteral("second")}));
    f.hotKeys.release(summonKeys);
    QCOMPARE(ran, QStringList{QStringLiteral("up")});
}

void KeyboardShortcutsTests::nothingRunsWhilePaused()
{
    ShortcutsFixture f;
    int runs = 0;
    onKeyDown(Name::summon(), [&] { ++runs; });
    setPaused(true);
    f.hotKeys.press(summonKeys);
    QCOMPARE(runs, 0);
    QCOMPARE(f.hotKeys.registered().size(), std::size_t(1));
    setPaused(false);
    f.hotKeys.press(summonKeys);
    QCOMPARE(runs, 1);
}

void KeyboardShortcutsTests::aNewShortcutTakesTheNextId()
{
    ShortcutsFixture f;
    int runs = 0;
    onKeyDown(Name::summon(), [&] { ++runs; });
    Name::summon().setShortcut(other);
    QCOMPARE(f.hotKeys.takeLog(),
             QStringList({QStringLiteral("+1"), QStringLiteral("-1"), QStringLiteral("+2")}));
    f.hotKeys.press(summonKeys);
    QCOMPARE(runs, 0);
    f.hotKeys.press(otherKeys);
    QCOMPARE(runs, 1);
    QCOMPARE(f.defaults.object(summonKey).toString(),
             QStringLiteral(R"({"carbonKeyCode":45,"carbonModifiers":6144})"));
}

void KeyboardShortcutsTests::theSameShortcutAgainIsRegisteredAgain()
{
    ShortcutsFixture f;
    Name::summon().setShortcut(Shortcut(49, 768));
    QCOMPARE(f.hotKeys.takeLog(),
             QStringList({QStringLiteral("+1"), QStringLiteral("-1"), QStringLiteral("+2")}));
}

void KeyboardShortcutsTests::clearingStopsTheShortcutUntilAnotherIsSet()
{
    ShortcutsFixture f;
    int runs = 0;
    onKeyDown(Name::summon(), [&] { ++runs; });
    Name::summon().setShortcut(std::nullopt);
    QCOMPARE(f.defaults.object(summonKey), QJsonValue(false));
    QVERIFY(f.hotKeys.registered().empty());
    Name::summon().setShortcut(other);
    f.hotKeys.press(otherKeys);
    QCOMPARE(runs, 1);
}

void KeyboardShortcutsTests::clearingANameWithoutADefaultLeavesNothing()
{
    ShortcutsFixture f;
    const Name name(QStringLiteral("plain"));
    name.setShortcut(other);
    QVERIFY(f.defaults.contains(QStringLiteral("KeyboardShortcuts_plain")));
    name.setShortcut(std::nullopt);
    QVERIFY(!f.defaults.contains(QStringLiteral("KeyboardShortcuts_plain")));
}

void KeyboardShortcutsTests::clearingNothingChangesNothing()
{
    ShortcutsFixture f;
    f.defaults.set(summonKey, QStringLiteral("{"));
    int changes = 0;
    const auto observer =
        f.center.addObserver(shortcutByNameDidChange, [&](const auto &) { ++changes; });
    Name::summon().setShortcut(std::nullopt);
    QCOMPARE(changes, 0);
    QCOMPARE(f.defaults.object(summonKey), QJsonValue(QStringLiteral("{")));
}

void KeyboardShortcutsTests::aRefusalIsOneLineAtOnceAndIsNotTriedAgain()
{
    ShortcutsFixture f;
    f.hotKeys.answer(10);
    CapturedOutput output;
    onKeyDown(Name::summon(), [] {});
    onKeyUp(Name::summon(), [] {});
    QCOMPARE(output.text(), QByteArray("Error registering hotkey ⇧⌘Space: 10\n"));

    f.hotKeys.answer(Platform::HotKeys::success);
    onKeyDown(Name::summon(), [] {});
    QVERIFY(f.hotKeys.registered().empty());
    Name::summon().setShortcut(other);
    QCOMPARE(f.hotKeys.takeLog(), QStringList({QStringLiteral("!1"), QStringLiteral("+2")}));
}

void KeyboardShortcutsTests::aShortcutThatCannotBeStoredChangesNothing()
{
    ShortcutsFixture f;
    (void)Name::summon();
    (void)f.hotKeys.takeLog();
    Name::summon().setShortcut(Shortcut(std::int64_t(1) << 32, 768));
    QCOMPARE(f.defaults.object(summonKey), QJsonValue(defaultText));
    QVERIFY(f.hotKeys.takeLog().isEmpty());
}

void KeyboardShortcutsTests::aMenuWithdrawsTheHotKeysAndWatchesTheKeys()
{
    ShortcutsFixture f;
    const Platform::MenuTracking tracking(f.center);
    int runs = 0;
    const FakeHotKeys::Combination keys{36, Modifier::Command};
    Name::summon().setShortcut(Shortcut(Key::return_, Modifier::Command));
    onKeyDown(Name::summon(), [&] { ++runs; });
    (void)f.hotKeys.takeLog();
    QMenu menu;
    auto *item = menu.addAction(QStringLiteral("Item"));
    int triggered = 0;
    connect(item, &QAction::triggered, this, [&] { ++triggered; });
    menu.popup({});
    menu.setActiveAction(item);
    QVERIFY(isMenuOpen());
    QVERIFY(f.hotKeys.registered().empty());

    QTest::keyClick(menu.windowHandle(), Qt::Key_Return, Qt::ControlModifier);
    QCOMPARE(runs, 1);
    QCOMPARE(triggered, 0);
    QTest::keyClick(menu.windowHandle(), Qt::Key_Return);
    QCOMPARE(runs, 1);
    QCOMPARE(triggered, 1);

    QVERIFY(!isMenuOpen());
    QCOMPARE(f.hotKeys.takeLog(), QStringList({QStringLiteral("-2"), QStringLiteral("+2")}));
    f.hotKeys.press(keys);
    QCOMPARE(runs, 2);
}

void KeyboardShortcutsTests::disablingWithdrawsEverything()
{
    ShortcutsFixture f;
    int runs = 0;
    onKeyDown(Name::summon(), [&] { ++runs; });
    setEnabled(false);
    setEnabled(false);
    f.hotKeys.deliver({{0x48544B59, 1}, Platform::HotKeyEvent::Kind::Pressed});
    QCOMPARE(runs, 0);
    setEnabled(true);
    QCOMPARE(f.hotKeys.takeLog(),
             QStringList({QStringLiteral("+1"), QStringLiteral("-1"), QStringLiteral("+1")}));
    f.hotKeys.press(summonKeys);
    QCOMPARE(runs, 1);
}

void KeyboardShortcutsTests::aRefusalAfterTheMenuIsTriedAgainAfterTheNext()
{
    ShortcutsFixture f;
    (void)Name::summon();
    const auto openAndClose = [&] {
        f.center.post(Platform::MenuTracking::didBeginTracking);
        f.center.post(Platform::MenuTracking::didEndTracking);
    };
    f.hotKeys.answer(10);
    CapturedOutput output;
    openAndClose();
    QCOMPARE(output.text(), QByteArray("Error registering hotkey ⇧⌘Space: 10\n"));
    f.hotKeys.answer(Platform::HotKeys::success);
    openAndClose();
    QCOMPARE(f.hotKeys.takeLog(), QStringList({QStringLiteral("+1"), QStringLiteral("-1"),
                                               QStringLiteral("!1"), QStringLiteral("+1")}));
}

void KeyboardShortcutsTests::foreignAndUnknownIdsAreIgnored()
{
    ShortcutsFixture f;
    int runs = 0;
    onKeyDown(Name::summon(), [&] { ++runs; });
    f.hotKeys.deliver({{0x48544B58, 1}, Platform::HotKeyEvent::Kind::Pressed});
    f.hotKeys.deliver({{0x48544B59, 2}, Platform::HotKeyEvent::Kind::Pressed});
    QCOMPARE(runs, 0);
    f.hotKeys.deliver({{0x48544B59, 1}, Platform::HotKeyEvent::Kind::Pressed});
    QCOMPARE(runs, 1);
}

void KeyboardShortcutsTests::anActionMayChangeTheShortcutThatRunsIt()
{
    ShortcutsFixture f;
    int runs = 0;
    onKeyDown(Name::summon(), [&] {
        ++runs;
        Name::summon().setShortcut(std::nullopt);
        onKeyDown(Name::summon(), [&] { ++runs; });
    });
    f.hotKeys.press(summonKeys);
    QCOMPARE(runs, 1);
    QVERIFY(f.hotKeys.registered().empty());
}

void KeyboardShortcutsTests::aMenuItemFollowsTheNameOnTheMainQueue()
{
    ShortcutsFixture f;
    auto item = std::make_unique<QAction>();
    setShortcutFor(*item, Name::summon());
    const auto text = [&] { return item->shortcut().toString(QKeySequence::PortableText); };
    QCOMPARE(text(), QStringLiteral("Ctrl+Shift+Space"));

    Name::summon().setShortcut(other);
    QCOMPARE(text(), QStringLiteral("Ctrl+Shift+Space"));
    f.queue.runPosted();
    QCOMPARE(text(), QStringLiteral("Meta+Alt+N"));

    Name::summon().setShortcut(std::nullopt);
    f.queue.runPosted();
    QCOMPARE(text(), QString());

    // A change of another name, and one that is still on its way when the item goes.
    Name(QStringLiteral("another")).setShortcut(other);
    f.queue.runPosted();
    QCOMPARE(text(), QString());
    Name::summon().setShortcut(other);
    item.reset();
    f.queue.runPosted();
}

void KeyboardShortcutsTests::aMenuItemWithoutANameShowsNothing()
{
    ShortcutsFixture f;
    QAction item;
    setShortcutFor(item, Name::summon());
    Name::summon().setShortcut(other);
    setShortcutFor(item, std::nullopt);
    f.queue.runPosted();
    Name::summon().setShortcut(Shortcut(49, 768));
    f.queue.runPosted();
    QVERIFY(item.shortcut().isEmpty());
}

QTEST_MAIN(KeyboardShortcutsTests)
#include "KeyboardShortcutsTests.moc"
