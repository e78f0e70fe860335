#pragma once

#include "KeyboardShortcuts/KeyboardShortcuts.h"
#include "Platform/Core/NotificationCenter.h"
#include "Platform/Keyboard/ReservedShortcuts.h"
#include "Platform/Storage/UserDefaults.h"
#include "Tests/Support/FakeHotKeys.h"
#include "Tests/Support/FakeKeyboardLayout.h"
#include "Tests/Support/ManualTime.h"

#include <QTemporaryDir>

/// The shortcut module with everything it works with, for as long as the fixture lives. Its layout
/// has A, K and N.
struct ShortcutsFixture
{
    ShortcutsFixture()
    {
        layout.characters = {
            {0, QStringLiteral("a")}, {40, QStringLiteral("k")}, {45, QStringLiteral("n")}};
        restart();
    }
    ~ShortcutsFixture() { KeyboardShortcuts::dropEnvironment(); }

    /// What the next start of the program finds: the same defaults, nothing else.
    void restart()
    {
        KeyboardShortcuts::setEnvironment({defaults, center, queue, hotKeys, layout,
                                           [this] { return reserved; }, [this] { ++beeps; }});
    }

    QTemporaryDir folder;
    ManualQueue queue;
    Platform::UserDefaults defaults{folder.filePath(QStringLiteral("defaults.json")), queue};
    Platform::NotificationCenter center;
    FakeHotKeys hotKeys;
    FakeKeyboardLayout layout;
    std::vector<Platform::KeyCombination> reserved; ///< What the desktop keeps for itself.
    int beeps = 0;
};
