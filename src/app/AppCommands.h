#pragma once

#include <functional>

class QMenuBar;

namespace ambrel {

class NotificationCenter;
class RecentFilesMenu;
class RecentFilesStore;

/// The menus. Their items know neither model nor window: each posts its notification, and the main
/// window carries it out. Only "Settings" and "Quit" act by themselves.
///
/// The keys shown beside the items of playback, speed and pitch are taken by the key monitor while
/// that runs; it does the same.
namespace commands {

/// Store and notifications outlive the menu bar. Gives the submenu of recent files.
RecentFilesMenu* addMenus(QMenuBar& menuBar, const RecentFilesStore& recentFiles,
                          NotificationCenter& notifications,
                          const std::function<void()>& openSettings);

} // namespace commands
} // namespace ambrel
