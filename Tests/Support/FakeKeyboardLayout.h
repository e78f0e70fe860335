#pragma once

#include "Platform/Keyboard/KeyboardLayout.h"

#include <QHash>

/// A layout with only the characters that the test puts on it.
class FakeKeyboardLayout final : public Platform::KeyboardLayout
{
public:
    QString character(int keyCode) const override { return characters.value(keyCode); }
    void announce() { announceChange(); }

    QHash<int, QString> characters;
};
