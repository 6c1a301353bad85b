#include "ui/settings/SettingsScene.h"

#include <QApplication>
#include <QScreen>

#include "ui/look/Theme.h"
#include "ui/settings/CacheSettingsView.h"
#include "ui/settings/SettingsWindow.h"

namespace ambrel {
namespace {

/// Over the middle of another window, as far as the screen allows.
void centre(QWidget& window, const QWidget& over) {
    window.adjustSize();
    QRect place(QPoint(), window.size());
    place.moveCenter(over.frameGeometry().center());
    window.move(Theme::movedInto(over.screen()->availableGeometry(), place).topLeft());
}

} // namespace

SettingsScene::SettingsScene(const Services& services)
    : services_(services), maintenance_(services.cache, services.settings, services.mainQueue) {}

SettingsScene::~SettingsScene() {
    delete window_;
}

void SettingsScene::open() {
    if (!window_ || window_->isHidden()) { // closed, and about to be deleted
        const QWidget* asking = QApplication::activeWindow();
        window_ = new SettingsWindow(
            new CacheSettingsView({services_.cache, maintenance_, services_.downloads}));
        if (asking)
            centre(*window_, *asking);
    }
    window_->setWindowState(window_->windowState() & ~Qt::WindowMinimized);
    window_->show();
    window_->raise();
    window_->activateWindow();
}

} // namespace ambrel
