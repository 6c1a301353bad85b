#include "ui/window/RecentFilesMenu.h"

#include <QUrl>

#include "app/Notifications.h"
#include "platform/desktop/NotificationCenter.h"
#include "store/RecentFilesStore.h"
#include "ui/look/PlainText.h"
#include "ui/window/RecentFile.h"

namespace ambrel {

RecentFilesMenu::RecentFilesMenu(const QString& title, const RecentFilesStore& recentFiles,
                                 NotificationCenter& notifications, QWidget* parent)
    : DescribedMenu(title, parent), recentFiles_(recentFiles), notifications_(notifications) {
    connect(this, &QMenu::aboutToShow, this, &RecentFilesMenu::build);
    build(); // an empty menu would not open
}

void RecentFilesMenu::build() {
    clear();
    const QList<QUrl> files = recentFiles_.all();
    if (files.isEmpty()) {
        addAction(QStringLiteral("No Recent Files"))->setEnabled(false);
        return;
    }
    for (const QUrl& file : files) {
        QAction* item = addAction(withoutMnemonics(recentFileTitle(file)), this, [this, file] {
            notifications_.post(notifications::openRecent, file);
        });
        item->setToolTip(plainToolTip(recentFileFolder(file)));
        item->setStatusTip(recentFileFolder(file));
    }
    addSeparator();
    addAction(QStringLiteral("Clear Recents"), this,
              [this] { notifications_.post(notifications::clearRecents); });
}

} // namespace ambrel
