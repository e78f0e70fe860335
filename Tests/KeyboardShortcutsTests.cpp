#include "KeyboardShortcuts/KeyboardShortcuts.h"
#include "KeyboardShortcuts/NSMenuItem++.h"
#include "Platform/Keyboard/MenuTracking.h"
#include "Tests/Support/ShortcutsFixture.h"

#include <QAction>
#include <QMenu>
#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace KeyboardShortcuts;
namespace Modifier = Platform::Modifier;

namespace {

const auto summonKey = u"KeyboardShortcuts_summon"_s;
const auto defaultText = uR"({"carbonKeyCode":49,"carbonModifiers":768})"_s;
constexpr FakeHotKeys::Combination summonKeys{49, Modifier::Command | Modifier::Shift};
constexpr FakeHotKeys::Combination otherKeys{45, Modifier::Control | Modifier::Option};
const Shortcut other(45, 6144);

/// What reaches standard output during the work, read past the C library's buffer: what was not
/// flushed is not there.
template <class Work>
QByteArray outputOf(Work &&work)
{
    std::FILE *file = std::tmpfile();
    std::fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    dup2(fileno(file), STDOUT_FILENO);
    work();
    dup2(saved, STDOUT_FILENO);
    close(saved);
    QByteArray text(4096, '\0');
    text.resize(std::max<ssize_t>(0, pread(fileno(file), text.data(), 4096, 0)));
    std::fclose(file);
    return text;
}

} // namespace

class KeyboardShortcutsTests final : public QObject
{
    Q_OBJECT

    std::optional<ShortcutsFixture> f;
    int m_runs = 0;

    void count() { ++m_runs; }
    /// What the system was asked since the last question, "+1 -1" for example.
    QString log() { return f->hotKeys.takeLog().join(u' '); }
    QJsonValue stored() { return f->defaults.object(summonKey); }
    void send(std::uint32_t signature, std::uint32_t id)
    {
        f->hotKeys.deliver({{signature, id}, Platform::HotKeyEvent::Kind::Pressed});
    }

private Q_SLOTS:
    void init()
    {
        f.reset(); // the module first lets go of the former one
        f.emplace();
        m_runs = 0;
    }
    void cleanupTestCase() { f.reset(); }

    void theFirstStartStoresAndRegistersTheDefault()
    {
        QStringList changed;
        const auto observer =
            f->center.addObserver(shortcutByNameDidChange, [&](const QVariantMap &info) {
                changed << info.value(u"name"_s).value<Name>().rawValue();
            });
        const auto summon = Name::summon();
        QCOMPARE(stored(), QJsonValue(defaultText));
        QCOMPARE(f->hotKeys.registered().size(), 1U);
        const auto &[id, keys] = *f->hotKeys.registered().begin();
        QCOMPARE(id.signature, 0x48544B59U);
        QCOMPARE(id.id, 1U);
        QVERIFY(keys == summonKeys);
        QCOMPARE(changed, QStringList{u"summon"_s});
        QCOMPARE(summon.shortcut(), std::optional(Shortcut(49, 768)));
    }

    void whatIsStoredDecidesWhatTheNextStartRegisters_data()
    {
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<QString>("asked");
        QTest::newRow("the user's own") << QJsonValue(*other.toJson()) << u"+1"_s;
        QTest::newRow("cleared") << QJsonValue(false) << QString();
        QTest::newRow("not JSON") << QJsonValue(u"{"_s) << QString();
        QTest::newRow("not a text") << QJsonValue(49) << QString();
    }
    void whatIsStoredDecidesWhatTheNextStartRegisters()
    {
        QFETCH(QJsonValue, value);
        f->defaults.set(summonKey, value);
        onKeyDown(Name::summon(), [] {});
        QTEST(log(), "asked");
        QCOMPARE(stored(), value);
    }

    void aNameIsCreatedOnceAStart()
    {
        (void)Name::summon();
        onKeyDown(Name::summon(), [] {});
        QCOMPARE(log(), u"+1"_s);
        f->defaults.remove(summonKey);
        (void)Name::summon();
        QVERIFY(stored().isUndefined());
        f->restart();
        (void)Name::summon();
        QCOMPARE(stored(), QJsonValue(defaultText));
        QCOMPARE(log(), u"-1 +1"_s);
    }

    void aPressRunsTheActionsOfEveryNameThatHoldsTheShortcut()
    {
        QStringList ran;
        const auto action = [&](const QString &text) { return [&ran, text] { ran << text; }; };
        const Name second(u"second"_s), third(u"third"_s, other);
        onKeyDown(Name::summon(), action(u"first"_s));
        onKeyDown(Name::summon(), action(u"and then"_s));
        onKeyUp(Name::summon(), action(u"up"_s));
        onKeyDown(second, action(u"second"_s));
        onKeyDown(third, action(u"third"_s));
        second.setShortcut(Shortcut(49, 768));
        f->hotKeys.press(summonKeys);
        QCOMPARE(ran.join(u','), u"first,and then,second"_s);
        f->hotKeys.release(summonKeys);
        QCOMPARE(ran.last(), u"up"_s);
        setPaused(true);
        f->hotKeys.press(summonKeys);
        QCOMPARE(ran.size(), 4);
        setPaused(false);
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
        QCOMPARE(stored().toString(), uR"({"carbonKeyCode":45,"carbonModifiers":6144})"_s);
        Name::summon().setShortcut(other);
        QCOMPARE(log(), u"+1 -1 +2 -2 +3"_s);
        Name::summon().setShortcut(Shortcut(std::int64_t(1) << 32, 768));
        QCOMPARE(log(), QString());
        QCOMPARE(stored().toString(), *other.toJson());
    }

    void clearingLastsUntilAnotherIsSet()
    {
        onKeyDown(Name::summon(), [this] { count(); });
        Name::summon().setShortcut(std::nullopt);
        QCOMPARE(stored(), QJsonValue(false));
        QVERIFY(f->hotKeys.registered().empty());
        int changes = 0;
        const auto observer =
            f->center.addObserver(shortcutByNameDidChange, [&](const auto &) { ++changes; });
        Name::summon().setShortcut(std::nullopt);
        QCOMPARE(changes, 0);
        Name::summon().setShortcut(other);
        QCOMPARE(changes, 1);
        f->hotKeys.press(otherKeys);
        QCOMPARE(m_runs, 1);

        const Name plain(u"plain"_s); // has no default to keep away
        plain.setShortcut(other);
        plain.setShortcut(std::nullopt);
        QVERIFY(!f->defaults.contains(u"KeyboardShortcuts_plain"_s));
    }

    void aRefusalIsOneLineAtOnceAndIsNotTriedAgain()
    {
        f->hotKeys.answer(10);
        QCOMPARE(outputOf([] {
                     onKeyDown(Name::summon(), [] {});
                     onKeyUp(Name::summon(), [] {});
                 }),
                 "Error registering hotkey ⇧⌘Space: 10\n"_ba);
        f->hotKeys.answer(Platform::HotKeys::success);
        onKeyDown(Name::summon(), [] {});
        Name::summon().setShortcut(other);
        QCOMPARE(log(), u"!1 +2"_s);
    }

    void aMenuWithdrawsTheHotKeysAndWatchesTheKeys()
    {
        const Platform::MenuTracking tracking(f->center);
        Name::summon().setShortcut(Shortcut(Key::return_, Modifier::Command));
        onKeyDown(Name::summon(), [this] { count(); });
        QMenu menu;
        int triggered = 0;
        auto *item = menu.addAction(u"Item"_s, this, [&] { ++triggered; });
        menu.popup({});
        menu.setActiveAction(item);
        QVERIFY(isMenuOpen() && f->hotKeys.registered().empty());

        QTest::keyClick(menu.windowHandle(), Qt::Key_Return, Qt::ControlModifier);
        QCOMPARE(m_runs, 1);
        QCOMPARE(triggered, 0);
        QTest::keyClick(menu.windowHandle(), Qt::Key_Return);
        QCOMPARE(m_runs, 1);
        QCOMPARE(triggered, 1);
        QVERIFY(!isMenuOpen());
        QCOMPARE(log(), u"+1 -1 +2 -2 +2"_s);
        f->hotKeys.press({36, Modifier::Command});
        QCOMPARE(m_runs, 2);
    }

    void disablingWithdrawsEverything()
    {
        onKeyDown(Name::summon(), [this] { count(); });
        setEnabled(false);
        setEnabled(false);
        send(0x48544B59, 1);
        QCOMPARE(m_runs, 0);
        setEnabled(true);
        QCOMPARE(log(), u"+1 -1 +1"_s);
        send(0x48544B58, 1);
        send(0x48544B59, 2);
        QCOMPARE(m_runs, 0);
        send(0x48544B59, 1);
        QCOMPARE(m_runs, 1);
    }

    void aRefusalAfterTheMenuIsTriedAgainAfterTheNext()
    {
        (void)Name::summon();
        const auto openAndClose = [&] {
            f->center.post(Platform::MenuTracking::didBeginTracking);
            f->center.post(Platform::MenuTracking::didEndTracking);
        };
        f->hotKeys.answer(10);
        QCOMPARE(outputOf(openAndClose), "Error registering hotkey ⇧⌘Space: 10\n"_ba);
        f->hotKeys.answer(Platform::HotKeys::success);
        openAndClose();
        QCOMPARE(log(), u"+1 -1 !1 +1"_s);
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
        QVERIFY(f->hotKeys.registered().empty());
    }

    void aMenuItemFollowsTheNameOnTheMainQueue()
    {
        auto item = std::make_unique<QAction>();
        setShortcutFor(*item, Name::summon());
        const auto text = [&] { return item->shortcut().toString(QKeySequence::PortableText); };
        QCOMPARE(text(), u"Ctrl+Shift+Space"_s);
        Name::summon().setShortcut(other);
        QCOMPARE(text(), u"Ctrl+Shift+Space"_s);
        f->queue.runPosted();
        QCOMPARE(text(), u"Meta+Alt+N"_s);
        Name::summon().setShortcut(std::nullopt);
        f->queue.runPosted();
        QCOMPARE(text(), QString());

        Name::summon().setShortcut(other);
        setShortcutFor(*item, std::nullopt);
        f->queue.runPosted();
        QCOMPARE(text(), QString());
        // A change that is still on its way when the item goes.
        setShortcutFor(*item, Name::summon());
        Name::summon().setShortcut(other);
        item.reset();
        f->queue.runPosted();
    }
};

QTEST_MAIN(KeyboardShortcutsTests)
#include "KeyboardShortcutsTests.moc"
