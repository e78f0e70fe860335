#include "KeyboardShortcuts/Key.h"

#include "KeyboardShortcuts/Utilities.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace KeyboardShortcuts {

// clang-format off
constexpr Key Key::a{0},  Key::b{11}, Key::c{8},  Key::d{2},  Key::e{14}, Key::f{3},  Key::g{5},
              Key::h{4},  Key::i{34}, Key::j{38}, Key::k{40}, Key::l{37}, Key::m{46}, Key::n{45},
              Key::o{31}, Key::p{35}, Key::q{12}, Key::r{15}, Key::s{1},  Key::t{17}, Key::u{32},
              Key::v{9},  Key::w{13}, Key::x{7},  Key::y{16}, Key::z{6};
constexpr Key Key::zero{29}, Key::one{18}, Key::two{19},   Key::three{20}, Key::four{21},
              Key::five{23}, Key::six{22}, Key::seven{26}, Key::eight{28}, Key::nine{25};
constexpr Key Key::capsLock{57},     Key::shift{56},       Key::function{63},     Key::control{59},
              Key::option{58},       Key::command{55},     Key::rightCommand{54}, Key::rightOption{61},
              Key::rightControl{62}, Key::rightShift{60};
constexpr Key Key::return_{36},  Key::backslash{42},  Key::backtick{50}, Key::comma{43},
              Key::equal{24},    Key::minus{27},      Key::period{47},   Key::quote{39},
              Key::semicolon{41}, Key::slash{44},     Key::space{49},    Key::tab{48},
              Key::leftBracket{33}, Key::rightBracket{30};
constexpr Key Key::pageUp{116},     Key::pageDown{121},  Key::home{115},      Key::end{119},
              Key::upArrow{126},    Key::rightArrow{124}, Key::downArrow{125}, Key::leftArrow{123},
              Key::escape{53},      Key::delete_{51},    Key::deleteForward{117}, Key::help{114},
              Key::mute{74},        Key::volumeUp{72},   Key::volumeDown{73};
constexpr Key Key::f1{122},  Key::f2{120},  Key::f3{99},   Key::f4{118},  Key::f5{96},
              Key::f6{97},   Key::f7{98},   Key::f8{100},  Key::f9{101},  Key::f10{109},
              Key::f11{103}, Key::f12{111}, Key::f13{105}, Key::f14{107}, Key::f15{113},
              Key::f16{106}, Key::f17{64},  Key::f18{79},  Key::f19{80},  Key::f20{90};
constexpr Key Key::keypad0{82}, Key::keypad1{83}, Key::keypad2{84}, Key::keypad3{85}, Key::keypad4{86},
              Key::keypad5{87}, Key::keypad6{88}, Key::keypad7{89}, Key::keypad8{91}, Key::keypad9{92};
constexpr Key Key::keypadClear{71},    Key::keypadDecimal{65}, Key::keypadDivide{75},
              Key::keypadEnter{76},    Key::keypadEquals{81},  Key::keypadMinus{78},
              Key::keypadMultiply{67}, Key::keypadPlus{69};
// clang-format on

namespace {

constexpr char16_t keycap = u'\u20E3';           // encloses the character before it
constexpr char16_t firstFunctionKey = u'\uF704'; // F1 as a menu's character, the others follow

// clang-format off
constexpr Key functionKeys[] = {
    Key::f1,  Key::f2,  Key::f3,  Key::f4,  Key::f5,  Key::f6,  Key::f7,  Key::f8,  Key::f9,  Key::f10,
    Key::f11, Key::f12, Key::f13, Key::f14, Key::f15, Key::f16, Key::f17, Key::f18, Key::f19, Key::f20,
};
// clang-format on

SpecialKey named(Key key, const QString &symbol, const QString &nativeName)
{
    return {key, symbol, nativeName, symbol};
}

SpecialKey onKeypad(Key key, QChar symbol, const QString &nativeName)
{
    return {key, QString(symbol) + keycap, QStringLiteral("Keypad ") + nativeName, std::nullopt};
}

std::vector<SpecialKey> makeTable()
{
    const auto space = localized(u"space_key");
    // clang-format off
    std::vector<SpecialKey> table{
        named(Key::return_,       QStringLiteral("↩"),       QStringLiteral("Return")),
        named(Key::delete_,       QStringLiteral("⌫"),       QStringLiteral("Backspace")),
        named(Key::deleteForward, QStringLiteral("⌦"),       QStringLiteral("Delete")),
        named(Key::end,           QStringLiteral("↘"),       QStringLiteral("End")),
        named(Key::escape,        QStringLiteral("⎋"),       QStringLiteral("Esc")),
        named(Key::help,          QStringLiteral("?\u20DD"), QStringLiteral("Insert")),
        named(Key::home,          QStringLiteral("↖"),       QStringLiteral("Home")),
        {Key::space, space, QStringLiteral("Space"), QStringLiteral(" ")},
        named(Key::tab,           QStringLiteral("⇥"),       QStringLiteral("Tab")),
        named(Key::pageUp,        QStringLiteral("⇞"),       QStringLiteral("Page Up")),
        named(Key::pageDown,      QStringLiteral("⇟"),       QStringLiteral("Page Down")),
        named(Key::upArrow,       QStringLiteral("↑"),       QStringLiteral("Up")),
        named(Key::rightArrow,    QStringLiteral("→"),       QStringLiteral("Right")),
        named(Key::downArrow,     QStringLiteral("↓"),       QStringLiteral("Down")),
        named(Key::leftArrow,     QStringLiteral("←"),       QStringLiteral("Left")),
        {Key::keypadClear, QStringLiteral("☒\u20E3"), QStringLiteral("Num Lock"), std::nullopt},
        onKeypad(Key::keypadDecimal,  u'.', QStringLiteral(".")),
        onKeypad(Key::keypadDivide,   u'/', QStringLiteral("/")),
        onKeypad(Key::keypadEnter,    u'↩', QStringLiteral("Enter")),
        onKeypad(Key::keypadEquals,   u'=', QStringLiteral("=")),
        onKeypad(Key::keypadMinus,    u'-', QStringLiteral("-")),
        onKeypad(Key::keypadMultiply, u'*', QStringLiteral("*")),
        onKeypad(Key::keypadPlus,     u'+', QStringLiteral("+")),
    };
    constexpr Key keypadDigits[] = {
        Key::keypad0, Key::keypad1, Key::keypad2, Key::keypad3, Key::keypad4,
        Key::keypad5, Key::keypad6, Key::keypad7, Key::keypad8, Key::keypad9,
    };
    // clang-format on
    char16_t functionKey = firstFunctionKey;
    for (const Key key : functionKeys) {
        const auto name = QStringLiteral("F%1").arg(functionKey - firstFunctionKey + 1);
        table.push_back({key, name, name, QString(QChar(functionKey))});
        ++functionKey;
    }
    char16_t digit = u'0';
    for (const Key key : keypadDigits) {
        table.push_back(onKeypad(key, digit, QString(QChar(digit))));
        ++digit;
    }
    return table;
}

} // namespace

bool isFunctionKey(Key key)
{
    return std::find(std::begin(functionKeys), std::end(functionKeys), key) !=
           std::end(functionKeys);
}

const SpecialKey *keyToSpecialKeyMapping(Key key)
{
    static const auto table = makeTable();
    const auto found = std::find_if(table.begin(), table.end(),
                                    [=](const SpecialKey &each) { return each.key == key; });
    return found == table.end() ? nullptr : &*found;
}

} // namespace KeyboardShortcuts
