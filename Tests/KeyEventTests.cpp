#include "Platform/Keyboard/KeyEvent.h"

#include <QKeyEvent>
#include <QTest>

using namespace Platform;

class KeyEventTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aKeyCodeNamesThePlaceOnTheKeyboard_data();
    void aKeyCodeNamesThePlaceOnTheKeyboard();
    void everyKeyHasOneCodeInBothDirections();
    void theHardwareCodeCountsAndTheLayoutDoesNot_data();
    void theHardwareCodeCountsAndTheLayoutDoesNot();
    void aModifierChangeTellsWhatIsHeldAfterwards_data();
    void aModifierChangeTellsWhatIsHeldAfterwards();
};

void KeyEventTests::aKeyCodeNamesThePlaceOnTheKeyboard_data()
{
    QTest::addColumn<int>("keyCode");
    QTest::addColumn<uint>("evdev");
    // Of each run of neighbours the one that a slip would move.
    QTest::newRow("A") << 0 << 30U;
    QTest::newRow("G and H are swapped") << 5 << 34U;
    QTest::newRow("5 and 6 are swapped") << 23 << 6U;
    QTest::newRow("K") << 40 << 37U;
    QTest::newRow("N") << 45 << 49U;
    QTest::newRow("Return") << 36 << 28U;
    QTest::newRow("the keypad's Enter") << 76 << 96U;
    QTest::newRow("Escape") << 53 << 1U;
    QTest::newRow("Space") << 49 << 57U;
    QTest::newRow("Backspace") << 51 << 14U;
    QTest::newRow("left Ctrl is Command") << 55 << 29U;
    QTest::newRow("left Super is Control") << 59 << 125U;
    QTest::newRow("right Alt") << 61 << 100U;
    QTest::newRow("F4") << 118 << 62U;
    QTest::newRow("F20") << 90 << 190U;
    QTest::newRow("the keypad's 8") << 91 << 72U;
}

void KeyEventTests::aKeyCodeNamesThePlaceOnTheKeyboard()
{
    QFETCH(int, keyCode);
    QFETCH(uint, evdev);
    QCOMPARE(keyCodeOfEvdev(evdev), keyCode);
    QCOMPARE(evdevOfKeyCode(keyCode), std::optional<std::uint32_t>(evdev));
}

void KeyEventTests::everyKeyHasOneCodeInBothDirections()
{
    int keys = 0;
    for (int keyCode = -1; keyCode < 256; ++keyCode) {
        if (const auto evdev = evdevOfKeyCode(keyCode)) {
            QCOMPARE(keyCodeOfEvdev(*evdev), keyCode);
            ++keys;
        }
    }
    // The 113 that have names, all but Fn, which no keyboard sends, and five that have none.
    QCOMPARE(keys, 117);
    QVERIFY(!evdevOfKeyCode(KeyEvent::unknownKeyCode));
    QCOMPARE(keyCodeOfEvdev(0), KeyEvent::unknownKeyCode);
    QCOMPARE(keyCodeOfEvdev(500), KeyEvent::unknownKeyCode);
}

void KeyEventTests::theHardwareCodeCountsAndTheLayoutDoesNot_data()
{
    QTest::addColumn<int>("qtKey");
    QTest::addColumn<uint>("scanCode");
    QTest::addColumn<Qt::KeyboardModifiers>("held");
    QTest::addColumn<int>("keyCode");
    const Qt::KeyboardModifiers none;
    QTest::newRow("Cyrillic on the K key") << 0x041B << 45U << none << 40;
    QTest::newRow("Z on a German Y key") << int(Qt::Key_Z) << 29U << none << 16;
    QTest::newRow("a key without a place") << int(Qt::Key_MonBrightnessUp) << 233U << none << -1;
    QTest::newRow("handed back by an input method") << int(Qt::Key_Return) << 0U << none << 36;
    QTest::newRow("backwards tab")
        << int(Qt::Key_Backtab) << 0U << Qt::KeyboardModifiers(Qt::ShiftModifier) << 48;
    QTest::newRow("a digit") << int(Qt::Key_5) << 0U << none << 23;
    QTest::newRow("a keypad digit")
        << int(Qt::Key_5) << 0U << Qt::KeyboardModifiers(Qt::KeypadModifier) << 87;
}

void KeyEventTests::theHardwareCodeCountsAndTheLayoutDoesNot()
{
    QFETCH(int, qtKey);
    QFETCH(uint, scanCode);
    QFETCH(Qt::KeyboardModifiers, held);
    QFETCH(int, keyCode);
    QCOMPARE(KeyEvent::from(QKeyEvent(QEvent::KeyPress, qtKey, held, scanCode, 0, 0)).keyCode,
             keyCode);
}

void KeyEventTests::aModifierChangeTellsWhatIsHeldAfterwards_data()
{
    QTest::addColumn<QEvent::Type>("type");
    QTest::addColumn<int>("qtKey");
    QTest::addColumn<Qt::KeyboardModifiers>("held");
    QTest::addColumn<uint>("flags");
    const auto down = QEvent::KeyPress, up = QEvent::KeyRelease;
    const Qt::KeyboardModifiers none, alt = Qt::AltModifier, shift = Qt::ShiftModifier;
    QTest::newRow("down, the state from before")
        << down << int(Qt::Key_Alt) << none << Modifier::Option;
    QTest::newRow("down, the state from after")
        << down << int(Qt::Key_Alt) << alt << Modifier::Option;
    QTest::newRow("up, the state from before") << up << int(Qt::Key_Alt) << alt << 0U;
    QTest::newRow("up, the state from after") << up << int(Qt::Key_Alt) << none << 0U;
    QTest::newRow("another one stays")
        << up << int(Qt::Key_Alt) << (alt | shift) << Modifier::Shift;
    QTest::newRow("Ctrl is Command") << down << int(Qt::Key_Control) << none << Modifier::Command;
    QTest::newRow("Super is Control") << down << int(Qt::Key_Super_L) << none << Modifier::Control;
    QTest::newRow("AltGr is nothing") << down << int(Qt::Key_AltGr) << none << 0U;
}

void KeyEventTests::aModifierChangeTellsWhatIsHeldAfterwards()
{
    QFETCH(QEvent::Type, type);
    QFETCH(int, qtKey);
    QFETCH(Qt::KeyboardModifiers, held);
    QFETCH(uint, flags);
    const auto event = KeyEvent::from(QKeyEvent(type, qtKey, held));
    QCOMPARE(event.type, KeyEvent::Type::FlagsChanged);
    QCOMPARE(event.modifiers, flags);
}

QTEST_MAIN(KeyEventTests)
#include "KeyEventTests.moc"
