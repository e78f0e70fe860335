#include "KeyboardShortcuts/Recorder.h"
#include "Tests/Support/ShortcutsFixture.h"

#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
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
        layout->addWidget(before = new QPushButton);
        layout->addWidget(recorder = row.makeControl(&window));
        layout->addWidget(after = new QPushButton);
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

    QWidget window;
    QPushButton *before = nullptr;
    QPointer<RecorderCocoa> recorder;
    QPushButton *after = nullptr;
};

} // namespace

class RecorderTests final : public QObject
{
    Q_OBJECT

    std::optional<ShortcutsFixture> f;
    std::optional<Scene> s;
    QStringList m_changes;

    bool isRecording()
    {
        if (isPaused() != s->recorder->isRecording())
            qFatal("A recorder that half records");
        return isPaused();
    }
    void start()
    {
        s->click();
        QVERIFY(isRecording());
        QCOMPARE(s->recorder->placeholderText(), u"Press Shortcut"_s);
    }

private Q_SLOTS:
    void init()
    {
        f.emplace();
        m_changes.clear();
        s.emplace(Recorder(u"Summon a card"_s, Name::summon(), [this](const auto &shortcut) {
            m_changes << (shortcut ? shortcut->presentableDescription() : u"none"_s);
        }));
        f->queue.runPosted();
    }
    void cleanup()
    {
        s.reset();
        f.reset();
    }

    void aWindowThatBecomesKeyDoesNotRecordAndAClickDoes()
    {
        QWidget form;
        const RecorderCocoa only(Name::summon(), {}, &form);
        form.show();
        form.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&form));
        QVERIFY(!only.isRecording());
        s->activate();
        start();
        QCOMPARE(s->recorder->accessibleDescription(), u"Ctrl+Shift+Space"_s);
    }

    void whatAKeyDoesWhileRecording_data()
    {
        QTest::addColumn<int>("combined");
        QTest::addColumn<QString>("text"); // afterwards; "=" for the old one
        QTest::addColumn<bool>("records"); // still, and then it has beeped unless it cleared
        const auto row = [](const char *name, int combined, const QString &text, bool records) {
            QTest::newRow(name) << combined << text << records;
        };
        row("a combination", int(Qt::META) | int(Qt::ALT) | Qt::Key_N, u"⌃⌥N"_s, false);
        row("shift and a function key", int(Qt::SHIFT) | Qt::Key_F5, u"⇧F5"_s, false);
        row("what desktops list without using it", Qt::Key_F12, u"F12"_s, false);
        row("shift and a letter", int(Qt::SHIFT) | Qt::Key_N, u"="_s, true);
        row("a digit of the keypad", int(Qt::KeypadModifier) | Qt::Key_5, u"="_s, true);
        row("delete", Qt::Key_Delete, QString(), true);
        row("command and delete", int(Qt::CTRL) | Qt::Key_Delete, u"⌘⌦"_s, false);
    }
    void whatAKeyDoesWhileRecording()
    {
        QFETCH(int, combined);
        QFETCH(QString, text);
        QFETCH(bool, records);
        const auto keys = QKeyCombination::fromCombined(combined);
        const bool isRefused = text == u"=";
        f->reserved = {{111, 0}};
        start();
        s->press(keys.key(), keys.keyboardModifiers());
        QCOMPARE(s->recorder->text(), isRefused ? u"⇧⌘Space"_s : text);
        QCOMPARE(isRecording(), records);
        QCOMPARE(f->beeps, isRefused ? 1 : 0);
        QCOMPARE(m_changes.size(), isRefused ? 0 : 1);
        QCOMPARE(s->recorder->findChild<QToolButton *>()->isHidden(), text.isEmpty());
    }

    void aKeyThatIsHeldCountsOnce()
    {
        const auto repeat = [this](Qt::Key key, Qt::KeyboardModifiers held = {}) {
            QKeyEvent event(QEvent::KeyPress, key, held, {}, true);
            QApplication::sendEvent(s->recorder, &event);
        };
        start();
        repeat(Qt::Key_Space); // which may have started it
        repeat(Qt::Key_Delete);
        repeat(Qt::Key_N, ctrlAlt);
        repeat(Qt::Key_Escape);
        QVERIFY(isRecording());
        QCOMPARE(f->beeps + m_changes.size(), 0);
        s->press(Qt::Key_Escape);
        repeat(Qt::Key_Space);
        QVERIFY(!isRecording());
    }

    void aRecordedShortcutWorksAtOnce()
    {
        int runs = 0;
        onKeyDown(Name::summon(), [&] { ++runs; });
        start();
        f->hotKeys.press({49, Modifier::Command | Modifier::Shift}); // out of force meanwhile
        QCOMPARE(runs, 0);
        s->press(Qt::Key_N, Qt::MetaModifier | Qt::AltModifier);
        QVERIFY(!isRecording());
        f->hotKeys.press({45, Modifier::Control | Modifier::Option});
        QCOMPARE(runs, 1);
        QCOMPARE(m_changes, QStringList(u"⌃⌥N"_s));
        f->layout.characters[45] = u"t"_s;
        f->layout.announce();
        QCOMPARE(s->recorder->text(), u"⌃⌥T"_s);
    }

    void theKeyboardAloneGetsInAndOut()
    {
        s->before->setFocus();
        s->press(Qt::Key_Tab);
        QVERIFY(isRecording());
        s->press(Qt::Key_Tab);
        QVERIFY(s->after->hasFocus());
        s->press(Qt::Key_Backtab, Qt::ShiftModifier);
        s->press(Qt::Key_Escape);
        s->press(Qt::Key_Space);
        QVERIFY(isRecording());
        s->press(Qt::Key_Escape);
        s->press(Qt::Key_Backtab, Qt::ShiftModifier);
        QVERIFY(s->before->hasFocus());
    }

    void whateverTakesTheFieldAwayEndsRecording()
    {
        QWidget other;
        start();
        QTest::mouseClick(s->window.windowHandle(), Qt::LeftButton, {},
                          s->recorder->geometry().bottomLeft() + QPoint(20, 4));
        QVERIFY(!isRecording());
        start();
        other.show();
        other.activateWindow();
        QTRY_VERIFY(!isRecording());
        s->activate();
        start();
        dropEnvironment(); // before the windows go, as at the program's end
    }

    void aCombinationOfTheMainMenuIsRefusedByName()
    {
        QMenu menu;
        auto *inner = menu.addMenu(u"Edit"_s)->addMenu(u"More"_s);
        inner->addAction(u"&Kill && Quit"_s)->setShortcut(Qt::CTRL | Qt::Key_K);
        setMainMenu(&menu);
        start();
        s->press(Qt::Key_K, Qt::ControlModifier);
        QVERIFY(!isRecording());
        QVERIFY(s->alert()->text().contains(u"“Kill & Quit”"_s));
    }

    void aCombinationOfTheDesktopOrOfAnotherProgramCanBeForced()
    {
        for (const int button : {0, 1}) {
            if (button == 0)
                f->reserved = {{45, Modifier::Command | Modifier::Option}};
            else
                f->hotKeys.answer(10);
            start();
            s->press(Qt::Key_N, ctrlAlt);
            QVERIFY(!isRecording());
            s->alert()->buttons().at(button)->click();
            QTRY_VERIFY(!s->alert());
            s->activate();
            QCOMPARE(isRecording(), button == 0);
            QCOMPARE(m_changes.size(), button);
            f->reserved.clear();
        }
    }

    void whatTheDesktopDecidesIsOnlyShown()
    {
        f->hotKeys.supported = false;
        f->hotKeys.announceTriggerChange();
        QVERIFY(s->recorder->note().contains(u"New Card"_s));
        start();
        f->hotKeys.decided = true;
        f->hotKeys.configurable = true;
        f->hotKeys.trigger = u"Press <Super>n"_s;
        f->hotKeys.announceTriggerChange();
        QVERIFY(!isRecording());
        QCOMPARE(s->recorder->note(), QString());
        QCOMPARE(s->recorder->text(), u"Press <Super>n"_s);
        s->click();
        QVERIFY(!isRecording());
        s->recorder->findChildren<QToolButton *>().at(1)->click();
        QVERIFY(f->hotKeys.takeLog().endsWith(u"configure"));
    }
};

QTEST_MAIN(RecorderTests)
#include "RecorderTests.moc"
