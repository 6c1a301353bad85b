#include "app/main/AppDelegate.h"

#include <utility>

#include <QApplication>

#include "app/AppState.h"
#include "platform/desktop/ApplicationBundle.h"
#include "ui/look/Symbols.h"

namespace ambrel {

void AppDelegate::setAppState(std::shared_ptr<AppState> appState) {
    appState_ = std::move(appState);
}

void AppDelegate::applicationWillFinishLaunching() {
    QApplication::setApplicationName(QStringLiteral("ambrel"));
    QApplication::setApplicationVersion(QStringLiteral(AMBREL_VERSION));
    QApplication::setDesktopFileName(ApplicationBundle::identifier());
    QApplication::setWindowIcon(applicationIcon());
    QApplication::setQuitOnLastWindowClosed(true);
}

void AppDelegate::applicationWillTerminate() {
    if (appState_)
        appState_->saveSettings();
}

} // namespace ambrel
