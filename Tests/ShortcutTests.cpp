#include "KeyboardShortcuts/Shortcut.h"
#include "KeyboardShortcuts/Utilities.h"
#include "Tests/Support/ShortcutsFixture.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace KeyboardShortcuts;
namespace Modifier = Platform::Modifier;

class ShortcutTests final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void onlyTwoIntegersOf32BitsAreAShortcut()
    {
        for (const char *text : {R"({"carbonKeyCode":49,"carbonModifiers":768})",
                                 "{ \"carbonModifiers\": 768,\n\"carbonKeyCode\": 49 }",
                                 R"({"carbonKeyCode":49,"carbonModifiers":768,"x":[]})",
                                 R"({"carbonKeyCode":49,"carbonModifiers":2147484417})"})
            QVERIFY2(Shortcut::fromJson(QString::fromUtf8(text)) == Shortcut(49, 768), text);
        for (const char *text : {"", "summon", "[49,768]", "[[[[[[[[[", R"({"carbonKeyCode":49})",
                                 R"({"carbonKeyCode":49,"carbonModifiers":768}})",
                                 R"({"carbonKeyCode":49,"carbonModifiers":null})",
                                 R"({"carbonKeyCode":true,"carbonModifiers":768})",
                                 R"({"carbonKeyCode":"49","carbonModifiers":768})",
                                 R"({"carbonKeyCode":49.5,"carbonModifiers":768})",
                                 R"({"carbonKeyCode":-1,"carbonModifiers":768})",
                                 R"({"carbonKeyCode":4294967296,"carbonModifiers":768})",
                                 // Would be 768 after the masking.
                                 R"({"carbonKeyCode":49,"carbonModifiers":4294968064})",
                                 R"({"carbonKeyCode":49,"carbonModifiers":1e30})"})
            QVERIFY2(!Shortcut::fromJson(QString::fromUtf8(text)), text);
    }

    void theStoredTextIsExact()
    {
        QCOMPARE(Shortcut(Key::space, Modifier::Command | Modifier::Shift).toJson(),
                 std::optional(uR"({"carbonKeyCode":49,"carbonModifiers":768})"_s));
        QVERIFY(!Shortcut(-1, 768).toJson());
        QVERIFY(!Shortcut(std::int64_t(1) << 32, 768).toJson());
    }

    void onlyTheFiveModifiersSurvive()
    {
        QCOMPARE(Shortcut(49, 769).carbonModifiers(), 768);
        QCOMPARE(Shortcut(49, -1).carbonModifiers(), 0x100 | 0x200 | 0x800 | 0x1000 | 0x20000);
        QCOMPARE(Shortcut(Key::a, ~0U).modifiers(), Modifier::Command | Modifier::Shift |
                                                        Modifier::Option | Modifier::Control |
                                                        Modifier::Function);
        QCOMPARE(Shortcut(Key::n, Modifier::Control | Modifier::Option | Modifier::CapsLock)
                     .carbonModifiers(),
                 6144);
    }

    void anEventGivesItsCombinationWithoutTheFunctionKey()
    {
        Platform::KeyEvent event;
        event.keyCode = 126;
        event.modifiers = Modifier::Command | Modifier::Function | Modifier::NumericPad;
        QCOMPARE(Shortcut::fromEvent(event),
                 std::optional(Shortcut(Key::upArrow, Modifier::Command)));
        event.type = Platform::KeyEvent::Type::KeyUp;
        QVERIFY(Shortcut::fromEvent(event));
        event.type = Platform::KeyEvent::Type::FlagsChanged;
        QVERIFY(!Shortcut::fromEvent(event));
        event.type = Platform::KeyEvent::Type::KeyDown;
        event.keyCode = Platform::KeyEvent::unknownKeyCode;
        QVERIFY(!Shortcut::fromEvent(event));
    }

    void aShortcutIsShownInSymbolsAndInWords_data()
    {
        QTest::addColumn<qint64>("keyCode");
        QTest::addColumn<qint64>("modifiers");
        QTest::addColumn<QString>("symbols");
        QTest::addColumn<QString>("words");
        QTest::addColumn<QString>("menuText");
        const auto row = [](qint64 keyCode, qint64 modifiers, const char *symbols,
                            const char *words, const char *menuText) {
            QTest::newRow(words) << keyCode << modifiers << QString::fromUtf8(symbols)
                                 << QString::fromUtf8(words) << QString::fromUtf8(menuText);
        };
        row(49, 768, "⇧⌘Space", "Ctrl+Shift+Space", "Ctrl+Shift+Space");
        row(40, 0x1B00, "⌃⌥⇧⌘K", "Super+Ctrl+Alt+Shift+K", "Meta+Ctrl+Alt+Shift+K");
        row(0, 0x20100, "⌘🌐︎A", "Fn+Ctrl+A", "Ctrl+A");
        row(96, 0, "F5", "F5", "F5");
        row(90, 0x800, "⌥F20", "Alt+F20", "Alt+F20");
        row(36, 0x100, "⌘↩", "Ctrl+Return", "Ctrl+Return");
        row(123, 0x1000, "⌃←", "Super+Left", "Meta+Left");
        row(91, 0x100, "⌘8⃣", "Ctrl+Keypad 8", "");
        row(76, 0, "↩⃣", "Keypad Enter", "");
        row(57, 0x100, "⌘\uFFFD", "Ctrl+\uFFFD", "");
        row(std::int64_t(1) << 32, 0, "\uFFFD", "\uFFFD", "");
    }
    void aShortcutIsShownInSymbolsAndInWords()
    {
        QFETCH(qint64, keyCode);
        QFETCH(qint64, modifiers);
        const ShortcutsFixture fixture;
        const Shortcut shortcut(keyCode, modifiers);
        QTEST(shortcut.presentableDescription(), "symbols");
        QTEST(shortcut.nativeDescription(), "words");
        QTEST(shortcut.keySequence().toString(QKeySequence::PortableText), "menuText");
    }
};

QTEST_MAIN(ShortcutTests)
#include "ShortcutTests.moc"
