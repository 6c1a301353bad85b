#include "ui/WrappingRow.h"

#include <algorithm>

#include <QBoxLayout>
#include <QEvent>

#include "ui/Theme.h"

namespace ambrel {

WrappingRow::WrappingRow(double spacing, std::initializer_list<QWidget*> widgets, QWidget* parent)
    : QWidget(parent), widgets_(widgets), layout_(new QBoxLayout(QBoxLayout::LeftToRight, this)) {
    layout_->setContentsMargins(0, 0, 0, 0);
    for (QWidget* widget : widgets_)
        layout_->addWidget(widget, 0, Qt::AlignLeft | Qt::AlignVCenter);
    layout_->addStretch(1);
    const auto applyTheme = [this, spacing] {
        layout_->setSpacing(Theme::length(spacing));
        arrange();
    };
    connect(&Theme::shared(), &Theme::changed, this, applyTheme);
    applyTheme();
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

/// As wide as the widest alone: it is this row that makes room by wrapping.
QSize WrappingRow::minimumSizeHint() const {
    int widest = 0;
    for (const QWidget* widget : widgets_)
        widest = std::max(widest, widget->sizeHint().width());
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

void WrappingRow::arrange() {
    int width = layout_->spacing() * (int(widgets_.size()) - 1);
    for (const QWidget* widget : widgets_)
        width += widget->sizeHint().width();
    const auto direction =
        width <= this->width() ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom;
    if (layout_->direction() == direction)
        return;
    layout_->setDirection(direction);
    updateGeometry();
}

} // namespace ambrel
