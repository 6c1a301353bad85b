#include "ui/SettingsScene.h"

#include "ui/CacheSettingsView.h"
#include "ui/SettingsWindow.h"

namespace ambrel {

SettingsScene::SettingsScene(const Services& services)
    : services_(services), maintenance_(services.cache, services.settings, services.mainQueue) {}

SettingsScene::~SettingsScene() {
    delete window_;
}

void SettingsScene::open() {
    if (!window_ || window_->isHidden()) // closed, and about to be deleted
        window_ = new SettingsWindow(
            new CacheSettingsView({services_.cache, maintenance_, services_.downloads}));
    window_->setWindowState(window_->windowState() & ~Qt::WindowMinimized);
    window_->show();
    window_->raise();
    window_->activateWindow();
}

} // namespace ambrel
