#include "Platform/Keyboard/EventMonitor.h"

#include "Platform/Core/UserTime.h"

#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QShortcut>
#include <QTest>
#include <QtTest/qtestspontaneevent.h>

using namespace Qt::StringLiterals;
using namespace Platform;

namespace {

constexpr EventMask keys = EventKind::KeyDown | EventKind::KeyUp | EventKind::FlagsChanged;

/// A window with an editor, and a monitor that writes down what it sees.
struct Scene
{
    explicit Scene(EventMask mask = keys)
    {
        window.show();
        window.activateWindow();
        (void)QTest::qWaitForWindowActive(&window);
        editor.setFocus();
        monitor = addLocalMonitor(mask, [this](const MonitoredEvent &event) { return see(event); });
    }

    EventVerdict see(const MonitoredEvent &event)
    {
        wasActive = window.isActiveWindow();
        if (event.kind == EventKind::FlagsChanged)
            seen << u"flags %1"_s.arg(event.key.modifiers, 0, 16);
        else if (event.kind == EventKind::KeyDown)
            seen << (event.key.isRepeat ? u"again %1"_s : u"down %1"_s).arg(event.key.keyCode);
        else
            seen << u"up %1"_s.arg(event.key.keyCode);
        return event.key.keyCode == swallowed ? EventVerdict::Swallow : EventVerdict::Pass;
    }

    /// Sends through the window system's door, as a real key comes.
    void click(Qt::Key key, Qt::KeyboardModifiers held = {})
    {
        QTest::keyClick(window.windowHandle(), key, held);
    }

    /// Sends a key of the keyboard, by the code that X gives it.
    void send(QEvent::Type type, Qt::Key key, quint32 scanCode, quint64 time = 0)
    {
        QKeyEvent event(type, key, {}, scanCode, 0, 0);
        event.setTimestamp(time);
        QSpontaneKeyEvent::setSpontaneous(&event);
        qApp->notify(&editor, &event); // sendEvent() would take the mark away
    }

    QWidget window;
    QLineEdit editor{&window};
    QStringList seen;
    bool wasActive = false;
    int swallowed = -2;
    Subscription monitor;
};

} // namespace

class EventMonitorTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aKeyIsSeenOnceWhereverItEnters()
    {
        Scene scene;
        // Left alone by the editor, so that it travels on to the parents.
        scene.click(Qt::Key_F5);
        QCOMPARE(scene.seen, QStringList({u"down 96"_s, u"up 96"_s}));
        scene.monitor.reset();
        scene.click(Qt::Key_S);
        QCOMPARE(scene.seen.size(), 2);
    }

    void onlyAPassedKeyReachesTheEditorAndTheShortcut()
    {
        for (const bool isSwallowed : {true, false}) {
            Scene scene;
            scene.swallowed = isSwallowed ? 40 : -2;
            int fired = 0;
            const QShortcut shortcut(QKeySequence(Qt::CTRL | Qt::Key_K), &scene.window,
                                     [&] { ++fired; });
            scene.click(Qt::Key_K, Qt::ControlModifier);
            scene.click(Qt::Key_K);
            scene.click(Qt::Key_A);
            QCOMPARE(fired, isSwallowed ? 0 : 1);
            QCOMPARE(scene.editor.text(), isSwallowed ? u"a"_s : u"ka"_s);
            QCOMPARE(scene.seen.count(u"down 40"_s), 2);
        }
    }

    void aPressAtTheMomentOfTheReleaseIsARepetition()
    {
        Scene scene(EventKind::KeyDown);
        scene.send(QEvent::KeyPress, Qt::Key_A, 38, 1000);
        scene.send(QEvent::KeyRelease, Qt::Key_A, 38, 1500);
        scene.send(QEvent::KeyPress, Qt::Key_A, 38, 1500);
        scene.send(QEvent::KeyRelease, Qt::Key_A, 38, 1540);
        scene.send(QEvent::KeyPress, Qt::Key_A, 38, 1700);
        QCOMPARE(Platform::UserTime::latest(), 1700U);
        QCOMPARE(scene.seen, QStringList({u"down 0"_s, u"again 0"_s, u"down 0"_s}));
    }

    void heldModifiersComeUpWhileTheWindowStillIsActive()
    {
        Scene scene(EventKind::FlagsChanged);
        scene.send(QEvent::KeyPress, Qt::Key_Shift, 50);
        scene.send(QEvent::KeyPress, Qt::Key_Shift, 62);
        scene.send(QEvent::KeyRelease, Qt::Key_Shift, 50); // the other one stays
        scene.send(QEvent::KeyPress, Qt::Key_Shift, 62);   // it came up unseen
        QWidget other;
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        const auto held = u"flags 20000"_s;
        QCOMPARE(scene.seen, QStringList({held, held, held, u"flags 0"_s, held, u"flags 0"_s}));
        QVERIFY(scene.wasActive);
    }

    void anOpenMenuHidesItsKeysFromTheWindows()
    {
        Scene scene(EventKind::KeyDown);
        QMenu menu;
        menu.addAction(u"Item"_s);
        menu.popup({});
        QTest::keyClick(menu.windowHandle(), Qt::Key_Down);
        menu.hide();
        scene.click(Qt::Key_A);
        QCOMPARE(scene.seen, QStringList{u"down 0"_s});
    }
};

QTEST_MAIN(EventMonitorTests)
#include "EventMonitorTests.moc"
