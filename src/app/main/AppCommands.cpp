#include "app/main/AppCommands.h"

#include <QCoreApplication>
#include <QMenu>
#include <QMenuBar>

#include "app/Notifications.h"
#include "platform/desktop/NotificationCenter.h"
#include "ui/window/RecentFilesMenu.h"

namespace ambrel::commands {
namespace {

struct Command {
    QString title;
    QKeySequence shortcut;
    QString notification;
};

void addCommand(QMenu& menu, const Command& command, NotificationCenter& notifications) {
    QAction* action = menu.addAction(command.title);
    action->setShortcut(command.shortcut);
    QObject::connect(action, &QAction::triggered, action,
                     [&notifications, name = command.notification] { notifications.post(name); });
}

void addSettings(QMenu& menu, const std::function<void()>& open) {
    QAction* settings = menu.addAction(QStringLiteral("Settings"));
    settings->setShortcut(Qt::CTRL | Qt::Key_Comma);
    settings->setMenuRole(QAction::PreferencesRole);
    QObject::connect(settings, &QAction::triggered, settings, open);
}

void addQuit(QMenu& menu) {
    QAction* quit = menu.addAction(QStringLiteral("Quit"));
    quit->setShortcutContext(Qt::ApplicationShortcut); // works while an alert is open
    quit->setShortcut(Qt::CTRL | Qt::Key_Q);
    quit->setMenuRole(QAction::QuitRole);
    // Not QCoreApplication::quit(), which would ask every window first: nothing may delay quitting.
    QObject::connect(quit, &QAction::triggered, quit, [] { QCoreApplication::exit(0); });
}

} // namespace

RecentFilesMenu* addMenus(QMenuBar& menuBar, const RecentFilesStore& recentFiles,
                          NotificationCenter& notifications,
                          const std::function<void()>& openSettings) {
    const auto addMenu = [&](const QString& title, std::initializer_list<Command> items) {
        auto* menu = new DescribedMenu(title, &menuBar);
        menuBar.addMenu(menu);
        for (const Command& item : items)
            addCommand(*menu, item, notifications);
        return menu;
    };
    DescribedMenu* file =
        addMenu(QStringLiteral("&File"),
                {{QStringLiteral("Open File..."), Qt::CTRL | Qt::Key_O, notifications::openFile},
                 {QStringLiteral("Open from URL..."), Qt::CTRL | Qt::SHIFT | Qt::Key_O,
                  notifications::openFromURL}});
    auto* openRecent =
        new RecentFilesMenu(QStringLiteral("Open Recent"), recentFiles, notifications, file);
    file->addMenu(openRecent);
    file->addSeparator();
    addSettings(*file, openSettings);
    addQuit(*file);

    addMenu(QStringLiteral("&Playback"),
            {{QStringLiteral("Stop and Reset"), Qt::CTRL | Qt::Key_R, notifications::stopReset},
             {QStringLiteral("Toggle Loop"), Qt::CTRL | Qt::Key_L, notifications::toggleLoop}});
    addMenu(QStringLiteral("&Speed"), {{QStringLiteral("Decrease Speed"), Qt::CTRL | Qt::Key_Left,
                                        notifications::decreaseSpeed},
                                       {QStringLiteral("Increase Speed"), Qt::CTRL | Qt::Key_Right,
                                        notifications::increaseSpeed}});
    addMenu(
        QStringLiteral("P&itch"),
        {{QStringLiteral("Pitch Up 1 Cent"), Qt::CTRL | Qt::Key_Up, notifications::pitchUp},
         {QStringLiteral("Pitch Down 1 Cent"), Qt::CTRL | Qt::Key_Down, notifications::pitchDown}});
    addMenu(QStringLiteral("&Help"),
            {{QStringLiteral("Ambrel Help"), Qt::Key_F1, notifications::showHelp}});
    return openRecent;
}

} // namespace ambrel::commands
