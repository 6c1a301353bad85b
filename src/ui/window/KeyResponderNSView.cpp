#include "ui/window/KeyResponderNSView.h"

#include <utility>

#include <QAccessible>
#include <QApplication>
#include <QKeyEvent>

#include "app/AppState.h"
#include "app/Transport.h"
#include "audio/AudioEngine.h"
#include "platform/desktop/KeyCode.h"

namespace ambrel {
namespace {

bool canHoldFocus(const QWidget* widget) {
    return widget && widget->isVisible() && widget->isEnabled();
}

bool isEditingText(const QWidget* widget) {
    return widget->testAttribute(Qt::WA_InputMethodEnabled);
}

} // namespace

KeyResponderNSView::KeyResponderNSView(std::shared_ptr<AppState> state,
                                       std::shared_ptr<AudioEngine> engine, MainQueue& mainQueue,
                                       QWidget* parent)
    : QWidget(parent), state_(std::move(state)), engine_(std::move(engine)), mainQueue_(mainQueue) {
    setFixedSize(0, 0);
    setFocusPolicy(Qt::NoFocus); // no stop on the way of Tab: nothing would show where the focus is
    connect(qApp, &QApplication::focusChanged, this, &KeyResponderNSView::focusChanged);
}

void KeyResponderNSView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    setFocus();
}

void KeyResponderNSView::keyPressEvent(QKeyEvent* event) {
    if (keyCodeOf(*event) != KeyCode::space || event->modifiers().testFlag(Qt::ControlModifier))
        return QWidget::keyPressEvent(event);
    if (!event->isAutoRepeat()) // held down, it would start and pause many times a second
        transport::togglePlayPause(*state_, *engine_);
}

void KeyResponderNSView::focusChanged(QWidget* old, QWidget* now) {
    const auto isHere = [this](const QWidget* widget) {
        return widget && widget->window() == window();
    };
    if (!isHere(now)) {
        // An inactive window has no focus, yet remembers where it was.
        QWidget* kept = window()->focusWidget();
        if (isHere(old) && !kept && canHoldFocus(old))
            takeFocus(); // let go on purpose: a Space that was pressed since is meant for playing
        else if (isHere(old) && (!kept || kept == window()))
            takeFocusFrom(kept);
        return;
    }
    // Qt passes the focus of a control that goes away on to the next one, where Space would press
    // it. And whoever comes back to the window wants to play: only a text being edited stays so.
    const bool isStray =
        isHere(old) ? !canHoldFocus(old) : !canHoldFocus(holder_) || !isEditingText(now);
    if (now == window() || (now != this && isStray))
        takeFocusFrom(now);
    holder_ = now;
}

void KeyResponderNSView::takeFocus() {
    setFocus();
    // QWidget::clearFocus() tells screen readers in the end that the widget that it left has the
    // focus, whose changes they would go on to read.
    mainQueue_.async([self = QPointer(this)] {
        if (!self || !self->hasFocus())
            return;
        QAccessibleEvent event(self, QAccessible::Focus);
        QAccessible::updateAccessibility(&event);
    });
}

/// Later, when Qt has done with changing the focus, unless it has moved on by then.
void KeyResponderNSView::takeFocusFrom(QWidget* holder) {
    mainQueue_.async([self = QPointer(this), holder = QPointer(holder)] {
        if (self && self->window()->focusWidget() == holder)
            self->setFocus();
    });
}

} // namespace ambrel
