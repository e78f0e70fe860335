#pragma once

#include "KeyboardShortcuts/Name.h"

class QAction;

namespace KeyboardShortcuts {

/// Shows the shortcut beside a menu item's title; none clears it.
void setShortcut(QAction &item, const std::optional<Shortcut> &shortcut);

/// Shows the name's current shortcut beside the item's title, and each later one, on the main queue
/// after the change, until the item goes away or is bound anew. None clears and ends it.
void setShortcutFor(QAction &item, const std::optional<Name> &name);

} // namespace KeyboardShortcuts
