#pragma once

#include "ui/controls/DescribedMenu.h"

namespace ambrel {

class NotificationCenter;
class RecentFilesStore;

/// The recent files by name, and "Clear Recents". Filled from the store each time it opens; a
/// choice is posted as openRecent with the file, or as clearRecents.
class RecentFilesMenu : public DescribedMenu {
    Q_OBJECT

  public:
    /// Store and notifications must outlive the menu.
    RecentFilesMenu(const QString& title, const RecentFilesStore& recentFiles,
                    NotificationCenter& notifications, QWidget* parent = nullptr);

  private:
    void build();

    const RecentFilesStore& recentFiles_;
    NotificationCenter& notifications_;
};

} // namespace ambrel
