#include "Platform/Keyboard/KeyEvent.h"

#include <QKeyEvent>

#include <algorithm>
#include <iterator>

namespace Platform {

namespace {

enum class Pad { No, Yes };

struct Row
{
    int keyCode;
    std::uint32_t evdev;
    Qt::Key qtKey; ///< On a US layout.
    Pad pad = Pad::No;
};

// The codes of the kernel's input-event-codes.h. Ctrl stands where Command does and Super where
// Control does. Insert takes the place of Help and Num Lock that of the keypad's Clear.
// clang-format off
constexpr Row rows[] = {
    {  0,  30, Qt::Key_A },             {  1,  31, Qt::Key_S },             {  2,  32, Qt::Key_D },
    {  3,  33, Qt::Key_F },             {  4,  35, Qt::Key_H },             {  5,  34, Qt::Key_G },
    {  6,  44, Qt::Key_Z },             {  7,  45, Qt::Key_X },             {  8,  46, Qt::Key_C },
    {  9,  47, Qt::Key_V },             { 10,  86, Qt::Key_Less },          { 11,  48, Qt::Key_B },
    { 12,  16, Qt::Key_Q },             { 13,  17, Qt::Key_W },             { 14,  18, Qt::Key_E },
    { 15,  19, Qt::Key_R },             { 16,  21, Qt::Key_Y },             { 17,  20, Qt::Key_T },
    { 18,   2, Qt::Key_1 },             { 19,   3, Qt::Key_2 },             { 20,   4, Qt::Key_3 },
    { 21,   5, Qt::Key_4 },             { 22,   7, Qt::Key_6 },             { 23,   6, Qt::Key_5 },
    { 24,  13, Qt::Key_Equal },         { 25,  10, Qt::Key_9 },             { 26,   8, Qt::Key_7 },
    { 27,  12, Qt::Key_Minus },         { 28,   9, Qt::Key_8 },             { 29,  11, Qt::Key_0 },
    { 30,  27, Qt::Key_BracketRight },  { 31,  24, Qt::Key_O },             { 32,  22, Qt::Key_U },
    { 33,  26, Qt::Key_BracketLeft },   { 34,  23, Qt::Key_I },             { 35,  25, Qt::Key_P },
    { 36,  28, Qt::Key_Return },        { 37,  38, Qt::Key_L },             { 38,  36, Qt::Key_J },
    { 39,  40, Qt::Key_Apostrophe },    { 40,  37, Qt::Key_K },             { 41,  39, Qt::Key_Semicolon },
    { 42,  43, Qt::Key_Backslash },     { 43,  51, Qt::Key_Comma },         { 44,  53, Qt::Key_Slash },
    { 45,  49, Qt::Key_N },             { 46,  50, Qt::Key_M },             { 47,  52, Qt::Key_Period },
    { 48,  15, Qt::Key_Tab },           { 49,  57, Qt::Key_Space },         { 50,  41, Qt::Key_QuoteLeft },
    { 51,  14, Qt::Key_Backspace },     { 53,   1, Qt::Key_Escape },
    { 55,  29, Qt::Key_Control },       { 54,  97, Qt::Key_Control },       { 56,  42, Qt::Key_Shift },
    { 60,  54, Qt::Key_Shift },         { 57,  58, Qt::Key_CapsLock },      { 58,  56, Qt::Key_Alt },
    { 61, 100, Qt::Key_AltGr },         { 59, 125, Qt::Key_Meta },          { 62, 126, Qt::Key_Meta },
    {122,  59, Qt::Key_F1 },            {120,  60, Qt::Key_F2 },            { 99,  61, Qt::Key_F3 },
    {118,  62, Qt::Key_F4 },            { 96,  63, Qt::Key_F5 },            { 97,  64, Qt::Key_F6 },
    { 98,  65, Qt::Key_F7 },            {100,  66, Qt::Key_F8 },            {101,  67, Qt::Key_F9 },
    {109,  68, Qt::Key_F10 },           {103,  87, Qt::Key_F11 },           {111,  88, Qt::Key_F12 },
    {105, 183, Qt::Key_F13 },           {107, 184, Qt::Key_F14 },           {113, 185, Qt::Key_F15 },
    {106, 186, Qt::Key_F16 },           { 64, 187, Qt::Key_F17 },           { 79, 188, Qt::Key_F18 },
    { 80, 189, Qt::Key_F19 },           { 90, 190, Qt::Key_F20 },
    {114, 110, Qt::Key_Insert },        {117, 111, Qt::Key_Delete },        {115, 102, Qt::Key_Home },
    {119, 107, Qt::Key_End },           {116, 104, Qt::Key_PageUp },        {121, 109, Qt::Key_PageDown },
    {123, 105, Qt::Key_Left },          {124, 106, Qt::Key_Right },         {125, 108, Qt::Key_Down },
    {126, 103, Qt::Key_Up },            {110, 127, Qt::Key_Menu },
    { 74, 113, Qt::Key_VolumeMute },    { 73, 114, Qt::Key_VolumeDown },    { 72, 115, Qt::Key_VolumeUp },
    { 82,  82, Qt::Key_0, Pad::Yes },        { 83,  79, Qt::Key_1, Pad::Yes },
    { 84,  80, Qt::Key_2, Pad::Yes },        { 85,  81, Qt::Key_3, Pad::Yes },
    { 86,  75, Qt::Key_4, Pad::Yes },        { 87,  76, Qt::Key_5, Pad::Yes },
    { 88,  77, Qt::Key_6, Pad::Yes },        { 89,  71, Qt::Key_7, Pad::Yes },
    { 91,  72, Qt::Key_8, Pad::Yes },        { 92,  73, Qt::Key_9, Pad::Yes },
    { 71,  69, Qt::Key_NumLock, Pad::Yes },  { 65,  83, Qt::Key_Period, Pad::Yes },
    { 75,  98, Qt::Key_Slash, Pad::Yes },    { 76,  96, Qt::Key_Enter, Pad::Yes },
    { 81, 117, Qt::Key_Equal, Pad::Yes },    { 78,  74, Qt::Key_Minus, Pad::Yes },
    { 67,  55, Qt::Key_Asterisk, Pad::Yes }, { 69,  78, Qt::Key_Plus, Pad::Yes },
    { 93, 124, Qt::Key_yen },           { 94,  89, Qt::Key_Underscore },
    { 95,  95, Qt::Key_Comma, Pad::Yes },
};

struct ModifierRow { Qt::KeyboardModifier qt; ModifierFlags flag; };

constexpr ModifierRow modifierRows[] = {
    { Qt::ShiftModifier,   Modifier::Shift },
    { Qt::ControlModifier, Modifier::Command },
    { Qt::AltModifier,     Modifier::Option },
    { Qt::MetaModifier,    Modifier::Control },
    { Qt::KeypadModifier,  Modifier::NumericPad },
};
// clang-format on

template <class Matches>
const Row *findRow(Matches matches)
{
    const auto found = std::find_if(std::begin(rows), std::end(rows), matches);
    return found == std::end(rows) ? nullptr : found;
}

} // namespace

int keyCodeOfQtKey(int key, Qt::KeyboardModifiers modifiers)
{
    if (key == Qt::Key_Backtab)
        key = Qt::Key_Tab;
    const Pad pad = modifiers.testFlag(Qt::KeypadModifier) ? Pad::Yes : Pad::No;
    const auto *row =
        findRow([&](const Row &each) { return each.qtKey == key && each.pad == pad; });
    if (!row)
        row = findRow([&](const Row &each) { return each.qtKey == key; });
    return row ? row->keyCode : KeyEvent::unknownKeyCode;
}

KeyEvent KeyEvent::from(const QKeyEvent &event)
{
    // A press and its announcement to the shortcuts are the same thing here.
    const bool isPress = event.type() != QEvent::KeyRelease;
    KeyEvent result;
    result.type = isPress ? Type::KeyDown : Type::KeyUp;
    // Input methods that hand a key back, and synthetic events, carry no hardware code.
    result.keyCode = event.nativeScanCode() >= xKeycodeOffset
                         ? keyCodeOfEvdev(event.nativeScanCode() - xKeycodeOffset)
                         : keyCodeOfQtKey(event.key(), event.modifiers());
    result.modifiers = modifierFlags(event.modifiers());
    result.text = event.text();
    result.isRepeat = event.isAutoRepeat();
    if (const auto flag = flagOfModifierKey(event.key())) {
        result.type = Type::FlagsChanged;
        // The state that comes with a modifier's own event may be that before or after it.
        result.modifiers = isPress ? result.modifiers | *flag : result.modifiers & ~*flag;
    }
    return result;
}

ModifierFlags modifierFlags(Qt::KeyboardModifiers modifiers)
{
    ModifierFlags flags = 0;
    for (const auto &row : modifierRows) {
        if (modifiers.testFlag(row.qt))
            flags |= row.flag;
    }
    return flags;
}

std::optional<ModifierFlags> flagOfModifierKey(int qtKey)
{
    switch (qtKey) {
    case Qt::Key_Shift:
        return Modifier::Shift;
    case Qt::Key_Control:
        return Modifier::Command;
    case Qt::Key_Alt:
        return Modifier::Option;
    case Qt::Key_Meta:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
        return Modifier::Control;
    case Qt::Key_AltGr:
    case Qt::Key_CapsLock:
    case Qt::Key_NumLock:
        return 0;
    default:
        return std::nullopt;
    }
}

int keyCodeOfEvdev(std::uint32_t evdevCode)
{
    const auto *row = findRow([=](const Row &each) { return each.evdev == evdevCode; });
    return row ? row->keyCode : KeyEvent::unknownKeyCode;
}

std::optional<std::uint32_t> evdevOfKeyCode(int keyCode)
{
    const auto *row = findRow([=](const Row &each) { return each.keyCode == keyCode; });
    return row ? std::optional(row->evdev) : std::nullopt;
}

Qt::Key qtKeyOfKeyCode(int keyCode)
{
    const auto *row = findRow([=](const Row &each) { return each.keyCode == keyCode; });
    return row ? row->qtKey : Qt::Key_unknown;
}

} // namespace Platform
