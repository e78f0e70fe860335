#pragma once

#include "Platform/Core/Observable.h"

class QWidget;

/// What an ordinary window of a program without a task bar entry needs beyond Qt. Main thread only.
namespace Platform::OrdinaryWindow {

/// The user has just asked for something by way of another program, a tray or a second start of
/// this one, and the request carries no time of its own. Window managers would otherwise weigh it
/// as old.
void noteUserAction();

/// Shows the window, also one that is minimised or on another workspace, in front of the others,
/// with the keyboard taken from whoever has it. The user has just asked for it.
void bringToFront(QWidget &window);

/// Keeps the window, while it is shown, above the program's other windows that stand above
/// everything, whatever brings those forward; the keyboard stays where it is. For as long as the
/// result lives, which must not outlive the window.
[[nodiscard]] Subscription keepInFrontOfOwn(QWidget &window);

/// Minimises the windows of all other programs. Does nothing where a program may not.
void hideOthers();

} // namespace Platform::OrdinaryWindow
