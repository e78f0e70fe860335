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
                                 R"({"carbonKeyCode":49,"carbonModifiers":2147484417})"})
            QVERIFY2(Shortcut::fromJson(QString::fromUtf8(text)) == Shortcut(49, 768), text);
        for (const char *text : {"summon", R"({"carbonKeyCode":49})",
                                 R"({"carbonKeyCode":"49","carbonModifiers":768})",
                                 R"({"carbonKeyCode":49.5,"carbonModifiers":768})",
                                 R"({"carbonKeyCode":-1,"carbonModifiers":768})",
                                 // Would be 768 after the masking.
                                 R"({"carbonKeyCode":49,"carbonModifiers":4294968064})"})
            QVERIFY2(!Shortcut::fromJson(QString::fromUtf8(text)), text);
    }

    void anEventGivesItsCombinationWithoutTheFunctionKey()
    {
        Platform::KeyEvent event;
        event.keyCode = 126;
        event.modifiers = Modifier::Command | Modifier::Function | Modifier::NumericPad;
        QCOMPARE(Shortcut::fromEvent(event),
                 std::optional(Shortcut(Key::upArrow, Modifier::Command)));
        event.keyCode = Platform::KeyEvent::unknownKeyCode;
        QVERIFY(!Shortcut::fromEvent(event));
    }

    void aShortcutIsShownInSymbolsAndInWords()
    {
        const ShortcutsFixture fixture;
        const auto shown = [](std::int64_t keyCode, std::int64_t modifiers) {
            const Shortcut shortcut(keyCode, modifiers);
            return QStringList{shortcut.presentableDescription(), shortcut.nativeDescription(),
                               shortcut.keySequence().toString(QKeySequence::PortableText)}
                .join(u'|');
        };
        QCOMPARE(shown(40, 0x1B00), u"⌃⌥⇧⌘K|Super+Ctrl+Alt+Shift+K|Meta+Ctrl+Alt+Shift+K"_s);
        QCOMPARE(shown(0, 0x20100), u"⌘🌐︎A|Fn+Ctrl+A|Ctrl+A"_s);
        QCOMPARE(shown(123, 0x1000), u"⌃←|Super+Left|Meta+Left"_s);
        QCOMPARE(shown(91, 0x100), u"⌘8⃣|Ctrl+Keypad 8|"_s);
        QCOMPARE(shown(57, 0x100), u"⌘\uFFFD|Ctrl+\uFFFD|"_s);
    }
};

QTEST_MAIN(ShortcutTests)
#include "ShortcutTests.moc"
