#include "platform/desktop/KeyEventMonitor.h"

#include <utility>

#include <QGuiApplication>
#include <QKeyEvent>

namespace ambrel {

KeyEventMonitor::KeyEventMonitor(Handler handler) : handler_(std::move(handler)) {
    qApp->installEventFilter(this);
}

bool KeyEventMonitor::eventFilter(QObject* watched, QEvent* event) {
    const bool asksForShortcut = event->type() == QEvent::ShortcutOverride;
    // A press is delivered to the window, its focus widget and the parents: count it once.
    const bool reachesWindow = event->type() == QEvent::KeyPress && watched->isWindowType();
    if (!asksForShortcut && !reachesWindow)
        return QObject::eventFilter(watched, event);
    const auto act = handler_(static_cast<const QKeyEvent&>(*event));
    if (!act)
        return QObject::eventFilter(watched, event);
    event->accept(); // shortcut override: accepted, so that no menu item is triggered
    if (reachesWindow)
        act();
    return true;
}

} // namespace ambrel
