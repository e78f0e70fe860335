#include "KeyboardShortcuts/NSMenuItem++.h"
#include "KeyboardShortcuts/Recorder.h"
#include "Tests/Support/ShortcutsFixture.h"

#include <QApplication>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using namespace KeyboardShortcuts;
namespace Modifier = Platform::Modifier;

namespace {

constexpr auto ctrlAlt = Qt::ControlModifier | Qt::AltModifier;

/// A form with the recorder between two other controls.
struct Scene
{
    explicit Scene(const Recorder &row)
    {
        auto *layout = new QVBoxLayout(&window);
        layout->addWidget(before = new QPushButton(u"&Nothing"_s));
        layout->addWidget(recorder = row.makeControl(&window));
        layout->addWidget(after = new QPushButton);
        window.addAction(u"Copy"_s, QKeySequence::Copy, &window, [this] { ++triggered; });
        QObject::connect(before, &QPushButton::clicked, &window, [this] { ++triggered; });
        activate();
    }

    void activate()
    {
        window.show();
        window.activateWindow();
        (void)QTest::qWaitForWindowActive(&window);
    }
    void click() { QTest::mouseClick(recorder, Qt::LeftButton, {}, {20, 12}); }
    /// Sends the key through the window system's door, as a real one comes.
    void press(Qt::Key key, Qt::KeyboardModifiers held = {})
    {
        QTest::keyClick(window.windowHandle(), key, held);
    }
    QMessageBox *alert() { return window.findChild<QMessageBox *>(); }
    void answer(int button)
    {
        alert()->buttons().at(button)->click();
        activate(); // as a window manager does
    }

    QWidget window;
    QPushButton *before = nullptr;
    QPointer<RecorderCocoa> recorder;
    QPushButton *after = nullptr;
    int triggered = 0; ///< What stands around the recorder and must not hear its keys.
};

} // namespace

class RecorderTests final : public QObject
{
    Q_OBJECT

    std::optional<ShortcutsFixture> f;
    std::optional<Scene> s;
    QStringList m_changes;
    QString m_activity;
    Platform::Subscription m_observer;

    QString stored() { return f->defaults.object(u"KeyboardShortcuts_summon"_s).toString(); }
    bool isRecording()
    {
        const bool records = s->recorder->isRecording();
        // The three always go together.
        const bool agrees = isPaused() == records &&
                            (s->recorder->placeholderText() == u"Press Shortcut"_s) == records;
        return agrees ? records : (qFatal("A recorder that half records"), false);
    }
    void start()
    {
        s->click();
        QVERIFY(isRecording());
    }

private Q_SLOTS:
    void init()
    {
        s.reset();
        f.reset();
        f.emplace();
        m_changes.clear();
        m_activity.clear();
        m_observer = f->center.addObserver(recorderActiveStatusDidChange, [this](const auto &info) {
            m_activity += info.value(u"isActive"_s).toBool() ? u'+' : u'-';
        });
        s.emplace(Recorder(u"Summon a card"_s, Name::summon(), [this](const auto &shortcut) {
            m_changes << (shortcut ? shortcut->presentableDescription() : u"none"_s);
        }));
        f->queue.runPosted();
    }
    void cleanupTestCase()
    {
        s.reset();
        f.reset();
    }

    void aWindowThatBecomesKeyDoesNotRecordAndAClickDoes()
    {
        const auto showAlone = [this](RecorderCocoa &only) {
            only.show();
            only.activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&only));
            QVERIFY(!only.isRecording());
            f->queue.runPosted();
            QVERIFY(only.focusPolicy() == Qt::StrongFocus);
        };
        RecorderCocoa only(Name::summon());
        showAlone(only);
        s->activate();
        s->window.activateWindow();
        start();
        QCOMPARE(s->recorder->text(), u"⇧⌘Space"_s);
        QCOMPARE(s->recorder->accessibleName(), u"Summon a card"_s);
        QCOMPARE(s->recorder->accessibleDescription(), u"Ctrl+Shift+Space"_s);
        QCOMPARE(s->recorder->toolTip(), u"Ctrl+Shift+Space"_s);
        QCOMPARE(m_activity, u"+"_s);
    }

    void whatAKeyDoesWhileRecording_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<Qt::KeyboardModifiers>("held");
        QTest::addColumn<QString>("text"); // afterwards
        QTest::addColumn<bool>("records"); // still
        QTest::addColumn<int>("beeps");
        const auto row = [](const char *name, Qt::Key key, Qt::KeyboardModifiers held,
                            const QString &text, bool records, int beeps) {
            QTest::newRow(name) << int(key) << held << text << records << beeps;
        };
        const auto old = u"⇧⌘Space"_s;
        row("a combination", Qt::Key_N, Qt::MetaModifier | Qt::AltModifier, u"⌃⌥N"_s, false, 0);
        row("what is Copy elsewhere", Qt::Key_C, Qt::ControlModifier, u"⌘\uFFFD"_s, false, 0);
        row("what is a mnemonic elsewhere", Qt::Key_N, Qt::AltModifier, u"⌥N"_s, false, 0);
        row("a function key", Qt::Key_F5, {}, u"F5"_s, false, 0);
        row("a function key with shift", Qt::Key_F5, Qt::ShiftModifier, u"⇧F5"_s, false, 0);
        row("a letter", Qt::Key_N, {}, old, true, 1);
        row("shift and a letter", Qt::Key_N, Qt::ShiftModifier, old, true, 1);
        row("a digit of the keypad", Qt::Key_5, Qt::KeypadModifier, old, true, 1);
        row("a key without a place", Qt::Key_Launch0, Qt::ControlModifier, old, true, 1);
        row("shift and tab", Qt::Key_Backtab, Qt::ShiftModifier, old, true, 1);
        row("escape", Qt::Key_Escape, {}, old, false, 0);
        row("shift and escape", Qt::Key_Escape, Qt::ShiftModifier, old, true, 1);
        row("backspace", Qt::Key_Backspace, {}, QString(), true, 0);
        row("delete", Qt::Key_Delete, {}, QString(), true, 0);
        row("command and delete", Qt::Key_Delete, Qt::ControlModifier, u"⌘⌦"_s, false, 0);
    }
    void whatAKeyDoesWhileRecording()
    {
        QFETCH(int, key);
        QFETCH(Qt::KeyboardModifiers, held);
        QFETCH(QString, text);
        QFETCH(bool, records);
        QFETCH(int, beeps);
        start();
        s->press(Qt::Key(key), held);
        QCOMPARE(s->recorder->text(), text);
        QCOMPARE(isRecording(), records);
        QCOMPARE(f->beeps, beeps);
        QCOMPARE(s->triggered, 0);
        const bool changed = text != u"⇧⌘Space"_s;
        QCOMPARE(m_changes,
                 changed ? QStringList(text.isEmpty() ? u"none"_s : text) : QStringList());
        QCOMPARE(s->recorder->findChild<QToolButton *>()->isHidden(), text.isEmpty());
    }

    void aRecordedShortcutWorksAtOnceAndAlsoWhenItIsTheSame()
    {
        int runs = 0;
        onKeyDown(Name::summon(), [&] { ++runs; });
        start();
        s->press(Qt::Key_N, Qt::MetaModifier | Qt::AltModifier);
        QCOMPARE(stored(), uR"({"carbonKeyCode":45,"carbonModifiers":6144})"_s);
        f->hotKeys.press({45, Modifier::Control | Modifier::Option});
        QCOMPARE(runs, 1);
        // What is registered is caught by the system and arrives as no key.
        start();
        f->hotKeys.press({45, Modifier::Control | Modifier::Option});
        QCOMPARE(runs, 1);
        QVERIFY(!isRecording());
        QCOMPARE(m_changes, QStringList({u"⌃⌥N"_s, u"⌃⌥N"_s}));
        QCOMPARE(m_activity, u"+-+-"_s);
    }

    void theKeyboardAloneGetsInAndOut()
    {
        s->before->setFocus();
        s->press(Qt::Key_Tab);
        QVERIFY(isRecording());
        s->press(Qt::Key_Tab);
        QVERIFY(!isRecording());
        QVERIFY(s->after->hasFocus());
        s->press(Qt::Key_Backtab, Qt::ShiftModifier);
        s->press(Qt::Key_Escape);
        s->press(Qt::Key_Space);
        QVERIFY(isRecording());
        s->press(Qt::Key_Escape);
        s->press(Qt::Key_Backtab, Qt::ShiftModifier);
        QVERIFY(s->before->hasFocus());
        QCOMPARE(m_activity, u"+-+-+-"_s);
    }

    void whateverTakesTheFieldAwayEndsRecording_data()
    {
        QTest::addColumn<QString>("what");
        for (const char *what :
             {"a click beside it", "focus", "deactivation", "hiding", "reparenting", "destruction"})
            QTest::newRow(what) << QString::fromLatin1(what);
    }
    void whateverTakesTheFieldAwayEndsRecording()
    {
        QFETCH(QString, what);
        start();
        QWidget other;
        if (what == u"focus")
            s->after->setFocus();
        else if (what == u"deactivation")
            other.show(), other.activateWindow(), (void)QTest::qWaitForWindowActive(&other);
        else if (what == u"hiding")
            s->window.hide();
        else if (what == u"reparenting")
            s->recorder->setParent(&other);
        else if (what == u"destruction")
            delete s->recorder;
        else {
            const auto around = s->recorder->geometry();
            QTest::mouseClick(s->window.windowHandle(), Qt::LeftButton, {},
                              around.bottomLeft() + QPoint(20, 3));
            QVERIFY(isRecording());
            QTest::mouseClick(s->window.windowHandle(), Qt::LeftButton, {},
                              around.bottomLeft() + QPoint(20, 4));
        }
        QVERIFY(!isPaused());
        QCOMPARE(m_activity, u"+-"_s);
        QCOMPARE(stored(), uR"({"carbonKeyCode":49,"carbonModifiers":768})"_s);
        QVERIFY(!s->recorder || !s->recorder->hasFocus());
    }

    void theClearButtonClearsAndRecords()
    {
        auto *button = s->recorder->findChild<QToolButton *>();
        QTest::mouseClick(button, Qt::LeftButton);
        QCOMPARE(m_changes, QStringList(u"none"_s));
        QVERIFY(f->defaults.object(u"KeyboardShortcuts_summon"_s).isBool());
        QVERIFY(isRecording());
        QVERIFY(button->isHidden());
        Name::summon().setShortcut(Shortcut(Key::k, Modifier::Command));
        QCOMPARE(s->recorder->text(), u"⌘K"_s);
        s->recorder->setShortcutName(Name(u"other"_s));
        QCOMPARE(s->recorder->text(), QString());
    }

    void aCombinationOfTheMainMenuIsRefusedByName()
    {
        QMenu menu;
        auto *inner = menu.addMenu(u"Edit"_s)->addMenu(u"More"_s);
        inner->addAction(u"Alone"_s)->setShortcut(Qt::CTRL | Qt::SHIFT | Qt::Key_K);
        inner->addAction(u"&Kill && Quit"_s)->setShortcut(Qt::CTRL | Qt::Key_K);
        setMainMenu(&menu);
        start();
        s->press(Qt::Key_K, Qt::ControlModifier);
        QVERIFY(!isRecording());
        QVERIFY(s->alert());
        QVERIFY(s->alert()->text().contains(u"“Kill & Quit”"_s));
        s->answer(0);
        QTRY_VERIFY(isRecording());
        QCOMPARE(m_changes, QStringList());
        // The modifiers have to be the same.
        s->press(Qt::Key_K, ctrlAlt);
        QCOMPARE(m_changes, QStringList(u"⌥⌘K"_s));
    }

    void aCombinationOfTheDesktopCanBeForced()
    {
        f->reserved = {{45, Modifier::Command | Modifier::Option}, {111, 0}};
        for (const int button : {0, 1}) {
            start();
            s->press(Qt::Key_N, ctrlAlt);
            QVERIFY(!isRecording());
            QVERIFY(s->alert());
            s->answer(button);
            if (button == 0)
                QTRY_VERIFY(isRecording());
            s->recorder->clearFocus();
            QTRY_VERIFY(!s->alert());
            QCOMPARE(m_changes.size(), button);
        }
        QCOMPARE(s->recorder->text(), u"⌥⌘N"_s);
        s->activate();
        start();
        s->press(Qt::Key_F12);
        QCOMPARE(s->recorder->text(), u"F12"_s);
    }

    void whatTheDesktopDecidesIsOnlyShown()
    {
        QSignalSpy notes(s->recorder, &RecorderCocoa::noteChanged);
        f->hotKeys.supported = false;
        f->hotKeys.announceTriggerChange();
        QVERIFY(s->recorder->note().contains(u"New Card"_s));
        start();
        f->hotKeys.decided = true;
        f->hotKeys.announceTriggerChange();
        QVERIFY(!isRecording());
        QCOMPARE(s->recorder->text(), u"Not bound"_s);
        QVERIFY(s->recorder->note().contains(u"desktop"_s));
        f->hotKeys.configurable = true;
        f->hotKeys.trigger = u"Press <Super>n"_s;
        f->hotKeys.announceTriggerChange();
        QCOMPARE(notes.size(), 3);
        QCOMPARE(s->recorder->text(), u"Press <Super>n"_s);
        s->click();
        QVERIFY(!isRecording());
        s->press(Qt::Key_Delete);
        (void)f->hotKeys.takeLog();
        const auto buttons = s->recorder->findChildren<QToolButton *>();
        QVERIFY(buttons[0]->isHidden());
        buttons[1]->click();
        QCOMPARE(f->hotKeys.takeLog(), u"configure"_s);
        QCOMPARE(m_changes, QStringList());
    }

    void aMenuItemFollowsItsNameOnTheQueue()
    {
        QAction item;
        setShortcutFor(item, Name::summon());
        QCOMPARE(item.shortcut(), QKeySequence(u"Ctrl+Shift+Space"_s));
        Name::summon().setShortcut(Shortcut(Key::k, Modifier::Control));
        QCOMPARE(item.shortcut(), QKeySequence(u"Ctrl+Shift+Space"_s));
        f->queue.runPosted();
        QCOMPARE(item.shortcut(), QKeySequence(u"Meta+K"_s));
        setShortcutFor(item, std::nullopt);
        Name::summon().setShortcut(Shortcut(Key::n, Modifier::Control));
        f->queue.runPosted();
        QVERIFY(item.shortcut().isEmpty());
    }
};

QTEST_MAIN(RecorderTests)
#include "RecorderTests.moc"
