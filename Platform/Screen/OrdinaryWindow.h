#pragma once

class QWidget;

/// What an ordinary window of a program without a task bar entry needs beyond Qt. Main thread only.
namespace Platform::OrdinaryWindow {

/// The user has just asked for something by way of another program, a tray or a second start of
/// this one, and the request carries no time of its own. Window managers would otherwise weigh it
/// as old.
void noteUserAction();

/// Shows the window, also a minimised one, in front of the others, with the keyboard taken from
/// whoever has it. The user has just asked for it.
void bringToFront(QWidget &window);

/// Minimises the windows of all other programs. Does nothing where a program may not.
void hideOthers();

} // namespace Platform::OrdinaryWindow
