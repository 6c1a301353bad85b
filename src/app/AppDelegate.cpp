#include "app/AppDelegate.h"

#include <utility>

#include <QApplication>

#include "app/AppState.h"
#include "store/SettingsStore.h"
#include "ui/Symbols.h"

namespace ambrel {

void AppDelegate::setAppState(std::shared_ptr<AppState> appState) {
    appState_ = std::move(appState);
}

void AppDelegate::applicationWillFinishLaunching() {
    QApplication::setApplicationName(QStringLiteral("ambrel"));
    QApplication::setApplicationVersion(QStringLiteral(AMBREL_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("ambrel"));
    QApplication::setWindowIcon(applicationIcon());
    QApplication::setQuitOnLastWindowClosed(true);
}

void AppDelegate::applicationWillTerminate() {
    if (!appState_)
        return;
    if (const auto& url = appState_->audioFileURL())
        settings_.save(appState_->currentSettings(), *url);
}

} // namespace ambrel
