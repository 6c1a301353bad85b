#include "ui/look/SlidingRow.h"

#include <QLayout>
#include <QStyle>

#include "ui/look/Theme.h"

namespace ambrel {
namespace {

constexpr int kDurationMs = 200;

} // namespace

SlidingRow::SlidingRow(QWidget* row, QWidget* parent) : QWidget(parent), row_(row) {
    row_->setParent(this);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    animation_.setDuration(kDurationMs);
    animation_.setEasingCurve(QEasingCurve::InOutQuad);
    connect(&animation_, &QVariantAnimation::valueChanged, this, [this](const QVariant& share) {
        share_ = share.toDouble();
        updateGeometry();
    });
    connect(&animation_, &QVariantAnimation::finished, this, [this] { setVisible(isShown_); });
    Theme::follow(this, &SlidingRow::updateGeometry);
    hide();
}

void SlidingRow::setShown(bool shown) {
    if (shown == isShown_)
        return;
    isShown_ = shown;
    row_->setEnabled(shown); // what is on its way out takes neither focus nor clicks
    if (QWidget* holder = focusWidget(); !shown && holder && holder->hasFocus())
        holder->clearFocus();
    animation_.stop();
    const bool isSeen = parentWidget() && parentWidget()->isVisible();
    if (!isSeen || style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this) == 0) {
        share_ = shown ? 1 : 0;
        setVisible(shown);
        updateGeometry();
        return;
    }
    setVisible(true);
    animation_.setStartValue(share_);
    animation_.setEndValue(shown ? 1.0 : 0.0);
    animation_.start();
}

int SlidingRow::shownHeight() const {
    return qRound(row_->sizeHint().height() * share_);
}

QSize SlidingRow::sizeHint() const {
    return {row_->sizeHint().width(), shownHeight()};
}

QSize SlidingRow::minimumSizeHint() const {
    return {row_->minimumSizeHint().width(), shownHeight()};
}

/// The row keeps its height and is uncovered from above.
void SlidingRow::resizeEvent(QResizeEvent*) {
    row_->setGeometry(0, 0, width(), row_->sizeHint().height());
}

} // namespace ambrel
