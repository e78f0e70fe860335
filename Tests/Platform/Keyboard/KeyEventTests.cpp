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
        for (int keyCode = -1; keyCode < 256; ++keyCode) {
            const auto evdev = evdevOfKeyCode(keyCode);
            QCOMPARE(evdev ? keyCodeOfEvdev(*evdev) : keyCode, keyCode);
        }
        QCOMPARE(keyCodeOfEvdev(500), KeyEvent::unknownKeyCode);
    }

    void theHardwareCodeCountsAndTheLayoutDoesNot()
    {
        const auto keyCode = [](int key, uint scanCode, Qt::KeyboardModifiers held = {}) {
            return KeyEvent::from(QKeyEvent(QEvent::KeyPress, key, held, scanCode, 0, 0)).keyCode;
        };
        QCOMPARE(keyCode(0x041B, 45), 40);    // Cyrillic on the K key
        QCOMPARE(keyCode(Qt::Key_Z, 29), 16); // on a German Y key
        QCOMPARE(keyCode(Qt::Key_MonBrightnessUp, 233), -1);
        // Without a hardware code, as an input method hands keys back.
        QCOMPARE(keyCode(Qt::Key_Return, 0), 36);
        QCOMPARE(keyCode(Qt::Key_Backtab, 0, Qt::ShiftModifier), 48);
        QCOMPARE(keyCode(Qt::Key_5, 0), 23);
        QCOMPARE(keyCode(Qt::Key_5, 0, Qt::KeypadModifier), 87);
    }

    void aModifierChangeTellsWhatIsHeldAfterwards()
    {
        const auto flags = [](QEvent::Type type, int key, Qt::KeyboardModifiers held = {}) {
            const auto event = KeyEvent::from(QKeyEvent(type, key, held));
            return event.type == KeyEvent::Type::FlagsChanged ? event.modifiers : ~0U;
        };
        // The state that comes along is that from before or after the change.
        const auto down = QEvent::KeyPress, up = QEvent::KeyRelease;
        QCOMPARE(flags(down, Qt::Key_Alt), Modifier::Option);
        QCOMPARE(flags(down, Qt::Key_Alt, Qt::AltModifier), Modifier::Option);
        QCOMPARE(flags(up, Qt::Key_Alt, Qt::AltModifier | Qt::ShiftModifier), Modifier::Shift);
        QCOMPARE(flags(up, Qt::Key_Alt), 0U);
        QCOMPARE(flags(down, Qt::Key_Control), Modifier::Command);
        QCOMPARE(flags(down, Qt::Key_Super_L), Modifier::Control);
        QCOMPARE(flags(down, Qt::Key_AltGr), 0U);
    }
};

QTEST_MAIN(KeyEventTests)
#include "KeyEventTests.moc"
