#include "Platform/Keyboard/EventMonitor.h"
#include "Platform/Keyboard/MenuTracking.h"

#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QShortcut>
#include <QTest>
#include <QVBoxLayout>
#include <QtTest/qtestspontaneevent.h>

using namespace Qt::StringLiterals;
using namespace Platform;

namespace {

constexpr EventMask keys = EventKind::KeyDown | EventKind::KeyUp | EventKind::FlagsChanged;

/// A window with an editor, and a monitor that writes down what it sees.
struct Scene
{
    explicit Scene(EventMask mask = keys, MonitorScope scope = MonitorScope::Windows)
    {
        auto *layout = new QVBoxLayout(&window);
        layout->addWidget(&editor);
        window.show();
        window.activateWindow();
        (void)QTest::qWaitForWindowActive(&window);
        editor.setFocus();
        monitor = addLocalMonitor(
            mask, [this](const MonitoredEvent &event) { return see(event); }, scope);
    }

    EventVerdict see(const MonitoredEvent &event)
    {
        lastWindow = event.window;
        wasActive = window.isActiveWindow();
        if (event.kind == EventKind::FlagsChanged)
            seen << u"flags %1"_s.arg(event.key.modifiers, 0, 16);
        else if (event.kind == EventKind::KeyDown)
            seen << u"down %1"_s.arg(event.key.keyCode);
        else if (event.kind == EventKind::KeyUp)
            seen << u"up %1"_s.arg(event.key.keyCode);
        else
            seen << u"mouse %1"_s.arg(event.kind);
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
    QLineEdit editor;
    QStringList seen;
    QPointer<QWidget> lastWindow;
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
        const QStringList once{u"down 96"_s, u"up 96"_s};
        // Left alone by the editor, so that it travels on to the parents.
        scene.click(Qt::Key_F5);
        QCOMPARE(std::exchange(scene.seen, {}), once);
        QTest::keyClick(&scene.editor, Qt::Key_F5);
        QCOMPARE(std::exchange(scene.seen, {}), once);
        QCOMPARE(scene.lastWindow.data(), &scene.window);
        for (int i = 0; i < 3; ++i)
            QTest::keyPress(scene.window.windowHandle(), Qt::Key_A);
        QCOMPARE(scene.seen.count(u"down 0"_s), 3);
        scene.monitor.reset();
        scene.click(Qt::Key_S);
        QCOMPARE(scene.seen.size(), 3);
    }

    void onlyAPassedKeyReachesTheEditorTheShortcutAndTheNextMonitor()
    {
        for (const bool isSwallowed : {true, false}) {
            Scene scene;
            scene.swallowed = isSwallowed ? 40 : -2;
            int fired = 0, later = 0;
            const QShortcut shortcut(QKeySequence(Qt::CTRL | Qt::Key_K), &scene.window,
                                     [&] { ++fired; });
            const auto monitor = addLocalMonitor(EventKind::KeyDown, [&](const MonitoredEvent &) {
                ++later;
                return EventVerdict::Pass;
            });
            scene.click(Qt::Key_K, Qt::ControlModifier);
            scene.click(Qt::Key_K);
            scene.click(Qt::Key_A);
            QCOMPARE(fired, isSwallowed ? 0 : 1);
            QCOMPARE(scene.editor.text(), isSwallowed ? u"a"_s : u"ka"_s);
            QCOMPARE(scene.seen.count(u"down 40"_s), 2);
            QCOMPARE(later, isSwallowed ? 1 : 3);
        }
    }

    void aPressAtTheMomentOfTheReleaseIsARepetition()
    {
        Scene scene;
        QList<bool> repeats;
        const auto monitor = addLocalMonitor(EventKind::KeyDown, [&](const MonitoredEvent &event) {
            repeats << event.key.isRepeat;
            return EventVerdict::Pass;
        });
        scene.send(QEvent::KeyPress, Qt::Key_A, 38, 1000);
        scene.send(QEvent::KeyRelease, Qt::Key_A, 38, 1500);
        scene.send(QEvent::KeyPress, Qt::Key_A, 38, 1500);
        scene.send(QEvent::KeyRelease, Qt::Key_A, 38, 1540);
        scene.send(QEvent::KeyPress, Qt::Key_A, 38, 1700);
        QCOMPARE(repeats, QList<bool>({false, true, false}));
    }

    void oneOfTwoShiftKeysKeepsTheModifier()
    {
        Scene scene(EventKind::FlagsChanged);
        for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
            scene.send(type, Qt::Key_Shift, 50);
            scene.send(type, Qt::Key_Shift, 62);
        }
        const auto held = u"flags 20000"_s;
        QCOMPARE(scene.seen, QStringList({held, held, held, u"flags 0"_s}));
    }

    void heldModifiersComeUpWhileTheWindowStillIsActive()
    {
        Scene scene;
        QTest::keyPress(scene.window.windowHandle(), Qt::Key_Alt);
        QCOMPARE(scene.seen, QStringList{u"flags 80000"_s});

        QWidget other;
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        QCOMPARE(scene.seen.value(1), u"flags 0"_s);
        QVERIFY(scene.wasActive);
        QCOMPARE(scene.lastWindow.data(), &scene.window);
    }

    void menusHideKeysFromWindowsAndShowThemToMenus()
    {
        Scene windows(EventKind::KeyDown);
        Scene menus(EventKind::KeyDown, MonitorScope::Menus);
        QMenu menu;
        auto *item = menu.addAction(u"Item"_s);
        int triggered = 0;
        connect(item, &QAction::triggered, this, [&] { ++triggered; });
        menu.popup({});
        menu.setActiveAction(item);
        menus.swallowed = 36;
        QTest::keyClick(menu.windowHandle(), Qt::Key_Return);
        QCOMPARE(triggered, 0);
        QTest::keyClick(menu.windowHandle(), Qt::Key_Enter, Qt::KeypadModifier);
        QCOMPARE(triggered, 1);
        QCOMPARE(menus.seen, QStringList({u"down 36"_s, u"down 76"_s}));
        QVERIFY(windows.seen.isEmpty());

        QVERIFY(!menu.isVisible());
        windows.click(Qt::Key_A);
        QCOMPARE(windows.seen, QStringList{u"down 0"_s});
        QCOMPARE(menus.seen.size(), 2);
    }

    void mouseReleasesAreSeenAndNeverHeldBack()
    {
        Scene scene(EventKind::LeftMouseUp | EventKind::RightMouseUp);
        scene.swallowed = KeyEvent::unknownKeyCode;
        class Pressed final : public QWidget
        {
        public:
            using QWidget::QWidget;
            int releases = 0;
            void mousePressEvent(QMouseEvent *) override {}
            void mouseReleaseEvent(QMouseEvent *) override { ++releases; }
        } target(&scene.window);
        target.setGeometry(scene.window.rect());
        target.show();
        QTest::mouseClick(scene.window.windowHandle(), Qt::LeftButton);
        QTest::mouseClick(scene.window.windowHandle(), Qt::RightButton);
        QTest::mouseClick(scene.window.windowHandle(), Qt::MiddleButton);
        QCOMPARE(scene.seen, QStringList({u"mouse 4"_s, u"mouse 16"_s}));
        QCOMPARE(target.releases, 3);
    }

    void menuTrackingSpansTheFirstMenuToTheLast()
    {
        NotificationCenter center;
        const MenuTracking tracking(center);
        QString posted;
        const auto began = center.addObserver(MenuTracking::didBeginTracking,
                                              [&](const auto &) { posted += u'<'; });
        const auto ended =
            center.addObserver(MenuTracking::didEndTracking, [&](const auto &) { posted += u'>'; });
        auto menu = std::make_unique<QMenu>();
        QMenu submenu;
        menu->addAction(u"Item"_s);
        submenu.addAction(u"Item"_s);
        menu->popup({});
        submenu.popup({});
        submenu.hide();
        QCOMPARE(posted, u"<"_s);
        menu->hide();
        QCOMPARE(posted, u"<>"_s);
        menu->popup({});
        menu.reset();
        QVERIFY2(posted == u"<><>"_s, "deleted while open");
    }
};

QTEST_MAIN(EventMonitorTests)
#include "EventMonitorTests.moc"
