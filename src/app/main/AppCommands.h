#pragma once

#include <functional>

class QMenuBar;

namespace ambrel {

class NotificationCenter;
class RecentFilesMenu;
class RecentFilesStore;

/// The menus. Each item posts its notification, which the main window carries out, and knows
/// neither model nor window. Only "Settings" and "Quit" act directly.
///
/// The shortcuts shown for playback, speed and pitch are handled by the key monitor while it runs,
/// with the same effect.
namespace commands {

/// Adds the menus and returns the submenu of recent files. Store and notifications must outlive the
/// menu bar.
RecentFilesMenu* addMenus(QMenuBar& menuBar, const RecentFilesStore& recentFiles,
                          NotificationCenter& notifications,
                          const std::function<void()>& openSettings);

} // namespace commands
} // namespace ambrel
