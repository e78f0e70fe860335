#include "Platform/Keyboard/KeyEvent.h"

#include <QKeyEvent>
#include <QTest>

using namespace Platform;

class KeyEventTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aKeyCodeNamesThePlaceOnTheKeyboard()
    {
        // Of each run of neighbours the one that a slip would move.
        const std::pair<int, std::uint32_t> rows[] = {
            {0, 30},  {5, 34},  {23, 6},  {40, 37},  {45, 49},  {36, 28},  {76, 96},  {53, 1},
            {49, 57}, {51, 14}, {55, 29}, {59, 125}, {61, 100}, {118, 62}, {90, 190}, {91, 72}};
        for (const auto &[keyCode, evdev] : rows)
            QCOMPARE(evdevOfKeyCode(keyCode), std::optional(evdev));
        int keys = 0;
        for (int keyCode = -1; keyCode < 256; ++keyCode) {
            const auto evdev = evdevOfKeyCode(keyCode);
            QCOMPARE(evdev ? keyCodeOfEvdev(*evdev) : keyCode, keyCode);
            keys += evdev ? 1 : 0;
        }
        // The 113 that have names, all but Fn, which no keyboard sends, and five that have none.
        QCOMPARE(keys, 117);
        QCOMPARE(keyCodeOfEvdev(0), KeyEvent::unknownKeyCode);
        QCOMPARE(keyCodeOfEvdev(500), KeyEvent::unknownKeyCode);
    }

    void theHardwareCodeCountsAndTheLayoutDoesNot_data()
    {
        QTest::addColumn<int>("qtKey");
        QTest::addColumn<uint>("scanCode");
        QTest::addColumn<Qt::KeyboardModifier>("held");
        QTest::addColumn<int>("keyCode");
        const auto row = [](const char *name, int key, uint scanCode, int keyCode,
                            Qt::KeyboardModifier held = Qt::NoModifier) {
            QTest::newRow(name) << key << scanCode << held << keyCode;
        };
        row("Cyrillic on the K key", 0x041B, 45, 40);
        row("Z on a German Y key", Qt::Key_Z, 29, 16);
        row("a key without a place", Qt::Key_MonBrightnessUp, 233, -1);
        row("handed back by an input method", Qt::Key_Return, 0, 36);
        row("backwards tab", Qt::Key_Backtab, 0, 48, Qt::ShiftModifier);
        row("a digit", Qt::Key_5, 0, 23);
        row("a keypad digit", Qt::Key_5, 0, 87, Qt::KeypadModifier);
    }
    void theHardwareCodeCountsAndTheLayoutDoesNot()
    {
        QFETCH(int, qtKey);
        QFETCH(uint, scanCode);
        QFETCH(Qt::KeyboardModifier, held);
        const QKeyEvent event(QEvent::KeyPress, qtKey, held, scanCode, 0, 0);
        QTEST(KeyEvent::from(event).keyCode, "keyCode");
    }

    void aModifierChangeTellsWhatIsHeldAfterwards_data()
    {
        QTest::addColumn<QEvent::Type>("type");
        QTest::addColumn<int>("qtKey");
        QTest::addColumn<Qt::KeyboardModifiers>("held");
        QTest::addColumn<uint>("flags");
        const auto row = [](const char *name, QEvent::Type type, int key,
                            Qt::KeyboardModifiers held, ModifierFlags flags) {
            QTest::newRow(name) << type << key << held << flags;
        };
        const auto down = QEvent::KeyPress, up = QEvent::KeyRelease;
        row("down, the state from before", down, Qt::Key_Alt, {}, Modifier::Option);
        row("down, the state from after", down, Qt::Key_Alt, Qt::AltModifier, Modifier::Option);
        row("up, the state from before", up, Qt::Key_Alt, Qt::AltModifier, 0);
        row("up, the state from after", up, Qt::Key_Alt, {}, 0);
        row("another one stays", up, Qt::Key_Alt, Qt::AltModifier | Qt::ShiftModifier,
            Modifier::Shift);
        row("Ctrl is Command", down, Qt::Key_Control, {}, Modifier::Command);
        row("Super is Control", down, Qt::Key_Super_L, {}, Modifier::Control);
        row("AltGr is nothing", down, Qt::Key_AltGr, {}, 0);
    }
    void aModifierChangeTellsWhatIsHeldAfterwards()
    {
        QFETCH(QEvent::Type, type);
        QFETCH(int, qtKey);
        QFETCH(Qt::KeyboardModifiers, held);
        const auto event = KeyEvent::from(QKeyEvent(type, qtKey, held));
        QCOMPARE(event.type, KeyEvent::Type::FlagsChanged);
        QTEST(event.modifiers, "flags");
    }
};

QTEST_MAIN(KeyEventTests)
#include "KeyEventTests.moc"
