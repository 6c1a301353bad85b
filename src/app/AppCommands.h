#pragma once

class QMenuBar;

namespace ambrel {

class NotificationCenter;

/// The menus. Their items know neither model nor window: each posts its notification, and the main
/// window carries it out. Only "Quit" acts by itself.
namespace commands {

/// `notifications` outlives the menu bar.
void addMenus(QMenuBar& menuBar, NotificationCenter& notifications);

} // namespace commands
} // namespace ambrel
