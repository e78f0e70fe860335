#include "KeyboardShortcuts/KeyboardShortcuts.h"
#include "Platform/Core/NotificationCenter.h"
#include "Platform/Core/UserTime.h"
#include "Platform/Keyboard/EventMonitor.h"
#include "Platform/Keyboard/HotKeys.h"
#include "Platform/Keyboard/KeyboardLayout.h"
#include "Platform/Keyboard/MenuTracking.h"
#include "Platform/Storage/UserDefaults.h"
#include "Tests/Desktop/PrivateDisplay.h"

#include <QAbstractNativeEventFilter>
#include <QApplication>
#include <QMenu>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <xcb/xcb.h>

#include <memory>

using namespace Qt::StringLiterals;
using namespace Platform;

namespace {

constexpr HotKeyId summon{0x48544B59, 1};
constexpr std::uint32_t spaceKey = 49, letterKKey = 40, letterYKey = 16;
constexpr xcb_keycode_t letterKKeycode = 45;
constexpr ModifierFlags commandShift = Modifier::Command | Modifier::Shift;
constexpr HotKeys::Status badAccess = 10;

void run(const char *program, const char *arguments)
{
    QCOMPARE(QProcess::execute(QString::fromLatin1(program),
                               QString::fromLatin1(arguments).split(u' ', Qt::SkipEmptyParts)),
             0);
}

void keys(const char *arguments)
{
    run("xdotool", arguments);
}

/// Counts what the server sends for the grabs, repetitions included.
class RawPresses final : public QAbstractNativeEventFilter
{
public:
    RawPresses() { qApp->installNativeEventFilter(this); }
    bool nativeEventFilter(const QByteArray &, void *message, qintptr *) override
    {
        count +=
            static_cast<xcb_generic_event_t *>(message)->response_type == XCB_KEY_PRESS ? 1 : 0;
        return false;
    }
    int count = 0;
};

/// Another program on the same display.
class OtherClient final
{
public:
    OtherClient()
        : m_connection(xcb_connect(nullptr, nullptr))
    {}
    ~OtherClient() { xcb_disconnect(m_connection); }

    bool grab(std::uint16_t modifiers, xcb_keycode_t key)
    {
        const auto cookie = xcb_grab_key_checked(m_connection, 1, root(), modifiers, key,
                                                 XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        auto *error = xcb_request_check(m_connection, cookie);
        const bool isGranted = error == nullptr;
        std::free(error);
        return isGranted;
    }

    void ungrab(std::uint16_t modifiers, xcb_keycode_t key)
    {
        std::free(xcb_request_check(m_connection,
                                    xcb_ungrab_key_checked(m_connection, key, root(), modifiers)));
    }

    bool grabKeyboard()
    {
        const auto cookie = xcb_grab_keyboard(m_connection, 0, root(), XCB_CURRENT_TIME,
                                              XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        auto *reply = xcb_grab_keyboard_reply(m_connection, cookie, nullptr);
        const bool isGranted = reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
        std::free(reply);
        return isGranted;
    }

    void ungrabKeyboard()
    {
        std::free(xcb_request_check(m_connection,
                                    xcb_ungrab_keyboard_checked(m_connection, XCB_CURRENT_TIME)));
    }

private:
    xcb_window_t root() { return xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root; }

    xcb_connection_t *m_connection;
};

} // namespace

class HotKeysX11Tests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        run("setxkbmap", "us");
        run("xset", "r rate 100 100");
        m_layout = KeyboardLayout::create(MainQueue::main());
        m_hotKeys = HotKeys::create(*m_layout);
        QVERIFY(m_hotKeys->isSupported());
        m_events = m_hotKeys->onEvent([this](const HotKeyEvent &event) {
            if (event.id != summon)
                m_sawMarker |= event.kind == HotKeyEvent::Kind::Released;
            else if (event.kind == HotKeyEvent::Kind::Pressed)
                m_seen << u"pressed"_s;
            else
                m_seen << u"released"_s;
        });
    }

    void cleanup()
    {
        m_hotKeys.reset();
        m_layout.reset();
        m_seen.clear();
    }

    void everyPressIsOnePressAndOneRelease()
    {
        QWidget window;
        for (const bool isOwnWindowActive : {false, true}) {
            window.setVisible(isOwnWindowActive);
            QVERIFY(!isOwnWindowActive || QTest::qWaitForWindowActive(&window));
            QCOMPARE(add(spaceKey), HotKeys::success);
            const auto before = UserTime::latest();
            keys("key ctrl+shift+space");
            QCOMPARE(seen(), m_pressAndRelease);
            QVERIFY(UserTime::latest() != before);
            keys("key ctrl+shift+space key ctrl+shift+space");
            QCOMPARE(seen(), m_pressAndRelease + m_pressAndRelease);
        }
        m_hotKeys->unregisterHotKey(summon);
        keys("key ctrl+shift+space");
        QCOMPARE(seen(), QStringList());
    }

    void aHeldKeyIsPressedOnce()
    {
        QCOMPARE(add(spaceKey), HotKeys::success);
        RawPresses raw;
        keys("keydown ctrl keydown shift keydown space");
        QTRY_VERIFY(raw.count > 10);
        QCOMPARE(m_seen, QStringList{u"pressed"_s});
        // The modifiers first, as hands do.
        keys("keyup ctrl keyup shift keyup space");
        QCOMPARE(seen(), m_pressAndRelease);
    }

    void onlyTheExactModifiersFire()
    {
        QCOMPARE(add(spaceKey), HotKeys::success);
        keys("key ctrl+space key shift+space key ctrl+shift+alt+space key ctrl+shift+super+space");
        QCOMPARE(seen(), QStringList());
        QCOMPARE(add(spaceKey, Modifier::Option | Modifier::Control), HotKeys::success);
        keys("key alt+super+space");
        QCOMPARE(seen(), m_pressAndRelease);
        QCOMPARE(add(63), HotKeys::noSuchKey);
        QCOMPARE(add(spaceKey, Modifier::Function), HotKeys::noSuchKey);
    }

    void theLockKeysDoNotMatter()
    {
        QCOMPARE(add(spaceKey), HotKeys::success);
        for (const char *locks : {"key Caps_Lock", "key Num_Lock", "key Caps_Lock key Num_Lock"}) {
            keys(locks);
            keys("key ctrl+shift+space");
            const auto result = seen();
            keys(locks);
            QVERIFY2(result == m_pressAndRelease, locks);
        }
    }

    void theKeyStaysInItsPlaceOnEveryLayout_data()
    {
        QTest::addColumn<QByteArray>("layout");
        QTest::addColumn<QString>("onTheKKey");
        QTest::addColumn<QString>("onTheYKey");
        const auto row = [](const char *layout, const char *k, const char *y) {
            QTest::newRow(layout) << QByteArray(layout) << QString::fromLatin1(k)
                                  << QString::fromLatin1(y);
        };
        row("de", "k", "z");
        row("us -variant dvorak", "t", "f");
        row("ru", "k", "y"); // no Latin letters at all: a US layout's
        row("ru,de", "k", "z");
    }
    void theKeyStaysInItsPlaceOnEveryLayout()
    {
        QFETCH(QByteArray, layout);
        QCOMPARE(m_layout->character(letterYKey), u"y"_s);
        QCOMPARE(add(letterKKey), HotKeys::success);
        int changes = 0;
        const auto observer = m_layout->onChange([&] { ++changes; });

        run("setxkbmap", "-option -layout "_ba + layout);
        QTRY_VERIFY(changes > 0);
        QTEST(m_layout->character(letterKKey), "onTheKKey");
        QTEST(m_layout->character(letterYKey), "onTheYKey");
        keys("key ctrl+shift+45");
        QCOMPARE(seen(), m_pressAndRelease);
        QCOMPARE(add(letterYKey), HotKeys::success);
        keys("key ctrl+shift+29");
        QCOMPARE(seen(), m_pressAndRelease);
    }

    void aTakenCombinationIsRefusedWhole()
    {
        OtherClient other;
        const std::uint16_t plain = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT;
        const std::uint16_t withNumLock = plain | XCB_MOD_MASK_2;
        QVERIFY(other.grab(withNumLock, letterKKeycode));
        QCOMPARE(add(letterKKey), badAccess);
        // What was grabbed on the way is free again.
        QTRY_VERIFY(other.grab(plain, letterKKeycode));

        other.ungrab(plain, letterKKeycode);
        other.ungrab(withNumLock, letterKKeycode);
        QCOMPARE(add(letterKKey), HotKeys::success);
        QVERIFY(!other.grab(plain, letterKKeycode));
        m_hotKeys->unregisterHotKey(summon);
        QTRY_VERIFY(other.grab(plain, letterKKeycode));
    }

    void oneOfTwoIdsOnACombinationMayGo()
    {
        const HotKeyId second{summon.signature, 2};
        QCOMPARE(add(spaceKey), HotKeys::success);
        QCOMPARE(m_hotKeys->registerHotKey(second, spaceKey, commandShift), HotKeys::success);
        m_hotKeys->unregisterHotKey(second);
        keys("key ctrl+shift+space");
        QCOMPARE(seen(), m_pressAndRelease);
    }

    void aShortcutWorksOverAnOwnMenu()
    {
        QTemporaryDir folder;
        UserDefaults defaults(folder.filePath(u"defaults.json"_s), MainQueue::main());
        NotificationCenter center;
        const MenuTracking tracking(center);
        KeyboardShortcuts::setEnvironment(
            {defaults, center, MainQueue::main(), *m_hotKeys, *m_layout});
        int runs = 0;
        KeyboardShortcuts::onKeyDown(KeyboardShortcuts::Name::summon(), [&] { ++runs; });

        QWidget window;
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QMenu menu;
        menu.addAction(u"Item"_s);
        menu.popup(window.mapToGlobal(QPoint(10, 10)));
        QVERIFY(QTest::qWaitForWindowExposed(&menu));
        keys("key ctrl+shift+space");
        QTRY_COMPARE(runs, 1);
        QVERIFY(menu.isVisible());
        keys("key Escape");
        QTRY_VERIFY(!menu.isVisible());
        keys("key ctrl+shift+space");
        QTRY_COMPARE(runs, 2);
        KeyboardShortcuts::dropEnvironment();
    }

    void aReleaseThatAGrabAteIsReported()
    {
        QWidget window;
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QList<ModifierFlags> flags;
        const auto monitor =
            addLocalMonitor(EventKind::FlagsChanged, [&](const MonitoredEvent &event) {
                flags << event.key.modifiers;
                return EventVerdict::Pass;
            });
        keys("keydown alt");
        QTRY_COMPARE(flags, QList<ModifierFlags>{Modifier::Option});
        OtherClient other;
        QVERIFY(other.grabKeyboard());
        keys("keyup alt");
        other.ungrabKeyboard();
        QTRY_COMPARE(flags, QList<ModifierFlags>({Modifier::Option, 0}));
    }

private:
    [[nodiscard]] HotKeys::Status add(std::uint32_t keyCode, ModifierFlags modifiers = commandShift)
    {
        return m_hotKeys->registerHotKey(summon, keyCode, modifiers);
    }
    /// Events arrive in order, so once a press of another hot key is here, so is all before it.
    [[nodiscard]] QStringList seen()
    {
        const HotKeyId marker{1, 1};
        if (m_hotKeys->registerHotKey(marker, 100, Modifier::Command) != HotKeys::success)
            return {u"no marker"_s};
        keys("key --delay 0 ctrl+F8");
        (void)QTest::qWaitFor([this] { return m_sawMarker; });
        m_hotKeys->unregisterHotKey(marker);
        m_sawMarker = false;
        return std::exchange(m_seen, {});
    }

    const QStringList m_pressAndRelease{u"pressed"_s, u"released"_s};
    std::unique_ptr<KeyboardLayout> m_layout;
    std::unique_ptr<HotKeys> m_hotKeys;
    Subscription m_events;
    QStringList m_seen;
    bool m_sawMarker = false;
};

int main(int argc, char **argv)
{
    const PrivateDisplay display;
    if (!display.isRunning()) {
        std::fputs("Xvfb did not start\n", stderr);
        return 1;
    }
    // What a session of the machine says is not true of this display.
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("XDG_SESSION_TYPE", "x11");
    qunsetenv("QT_IM_MODULE");
    QApplication application(argc, argv);
    HotKeysX11Tests tests;
    return QTest::qExec(&tests, argc, argv);
}

#include "HotKeysX11Tests.moc"
