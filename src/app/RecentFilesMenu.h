#pragma once

#include "app/DescribedMenu.h"

namespace ambrel {

class NotificationCenter;
class RecentFilesStore;

/// The files opened last, by name, and "Clear Recents". It is made anew from the store each time it
/// opens; the choice is posted as openRecent with the file, or as clearRecents.
class RecentFilesMenu : public DescribedMenu {
    Q_OBJECT

  public:
    /// Store and notifications outlive the menu.
    RecentFilesMenu(const QString& title, const RecentFilesStore& recentFiles,
                    NotificationCenter& notifications, QWidget* parent = nullptr);

  private:
    void build();

    const RecentFilesStore& recentFiles_;
    NotificationCenter& notifications_;
};

} // namespace ambrel
