#include "ui/settings/FormScroller.h"

#include <algorithm>

#include <QApplication>
#include <QEvent>
#include <QPointer>
#include <QScreen>

#include "ui/look/Theme.h"

namespace ambrel {

FormScroller::FormScroller(QWidget* form, QWidget* parent) : QScrollArea(parent) {
    setWidget(form);
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* focused) {
        if (focused && widget()->isAncestorOf(focused))
            showOnceLaidOut(focused);
    });
}

/// A row that has just appeared has no position yet.
void FormScroller::showOnceLaidOut(QWidget* focused) {
    const QPointer<QWidget> alive(focused);
    const auto show = [this, alive] {
        if (alive)
            ensureWidgetVisible(alive);
    };
    QMetaObject::invokeMethod(this, show, Qt::QueuedConnection);
}

QSize FormScroller::sizeHint() const {
    const int besideForm = Theme::length(90); // window frame and what is below the form
    const QSize form = widget()->sizeHint();
    const int room = screen()->availableSize().height() - besideForm;
    return {widget()->minimumSizeHint().width(), std::clamp(form.height(), 1, std::max(room, 1))};
}

bool FormScroller::eventFilter(QObject* watched, QEvent* event) {
    if (watched == widget() && event->type() == QEvent::LayoutRequest)
        updateGeometry();
    return QScrollArea::eventFilter(watched, event);
}

} // namespace ambrel
