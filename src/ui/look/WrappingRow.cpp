#include "ui/look/WrappingRow.h"

#include <algorithm>

#include <QBoxLayout>
#include <QEvent>

#include "ui/look/Theme.h"

namespace ambrel {
namespace {

bool expands(const QWidget* widget) {
    return widget->sizePolicy().expandingDirections().testFlag(Qt::Horizontal);
}

/// Expanding widgets may also be narrower than their size hint.
int neededWidth(const QWidget* widget) {
    return expands(widget) ? widget->minimumSizeHint().width() : widget->sizeHint().width();
}

} // namespace

WrappingRow::WrappingRow(double spacing, std::initializer_list<QWidget*> widgets, QWidget* parent)
    : QWidget(parent), widgets_(widgets), layout_(new QBoxLayout(QBoxLayout::LeftToRight, this)) {
    for (QWidget* widget : widgets_) {
        if (expands(widget))
            layout_->addWidget(widget, 1);
        else
            layout_->addWidget(widget, 0, Qt::AlignLeft | Qt::AlignVCenter);
    }
    if (std::ranges::none_of(widgets_, expands))
        layout_->addStretch(1);
    Theme::space(layout_, spacing);
    Theme::follow(this, &WrappingRow::arrange);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize WrappingRow::sizeHint() const {
    return {widthSideBySide(), layout_->sizeHint().height()};
}

/// As wide as the widest widget: the row makes room by wrapping.
QSize WrappingRow::minimumSizeHint() const {
    int widest = 0;
    for (const QWidget* widget : widgets_) {
        if (!widget->isHidden())
            widest = std::max(widest, widget->minimumSizeHint().width());
    }
    return {widest, layout_->minimumSize().height()};
}

bool WrappingRow::event(QEvent* event) {
    if (event->type() == QEvent::LayoutRequest)
        arrange();
    return QWidget::event(event);
}

void WrappingRow::resizeEvent(QResizeEvent*) {
    arrange();
}

int WrappingRow::widthSideBySide() const {
    int width = -layout_->spacing();
    for (const QWidget* widget : widgets_) {
        if (!widget->isHidden())
            width += layout_->spacing() + neededWidth(widget);
    }
    return std::max(width, 0);
}

void WrappingRow::arrange() {
    const auto direction =
        widthSideBySide() <= width() ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom;
    if (layout_->direction() == direction)
        return;
    layout_->setDirection(direction);
    updateGeometry();
}

} // namespace ambrel
