#include "app/AppCommands.h"

#include <QCoreApplication>
#include <QMenu>
#include <QMenuBar>

#include "app/Notifications.h"
#include "platform/desktop/NotificationCenter.h"

namespace ambrel::commands {
namespace {

void addCommand(QMenu& menu, const QString& title, const QKeySequence& shortcut,
                const QString& notification, NotificationCenter& notifications) {
    QAction* action = menu.addAction(title);
    action->setShortcut(shortcut);
    QObject::connect(action, &QAction::triggered, action,
                     [&notifications, notification] { notifications.post(notification); });
}

} // namespace

void addMenus(QMenuBar& menuBar, NotificationCenter& notifications) {
    QMenu* file = menuBar.addMenu(QStringLiteral("&File"));
    addCommand(*file, QStringLiteral("Open File..."), Qt::CTRL | Qt::Key_O, notifications::openFile,
               notifications);
    file->addSeparator();
    QAction* quit = file->addAction(QStringLiteral("Quit"));
    quit->setShortcutContext(Qt::ApplicationShortcut); // also while an alert is open
    quit->setShortcut(Qt::CTRL | Qt::Key_Q);
    quit->setMenuRole(QAction::QuitRole);
    // Not QCoreApplication::quit(), which asks every window first: nothing may hold it up.
    QObject::connect(quit, &QAction::triggered, quit, [] { QCoreApplication::exit(0); });
}

} // namespace ambrel::commands
