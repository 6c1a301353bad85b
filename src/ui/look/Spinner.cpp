#include "ui/look/Spinner.h"

#include <QAccessibleWidget>
#include <QPainter>
#include <QTimerEvent>

#include "ui/look/AccessibleFactory.h"
#include "ui/look/Theme.h"

namespace ambrel {
namespace {

constexpr int kSpokes = 10;
constexpr int kTurnMs = 1000;

/// Described as an indeterminate progress bar.
class SpinnerInterface : public QAccessibleWidget {
  public:
    explicit SpinnerInterface(Spinner* spinner)
        : QAccessibleWidget(spinner, QAccessible::ProgressBar) {}

    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.busy = static_cast<Spinner*>(widget())->isTurning();
        return state;
    }
};

} // namespace

Spinner::Spinner(double diameter, QWidget* parent) : QWidget(parent), diameter_(diameter) {
    describeBy<Spinner, SpinnerInterface>();
    setAccessibleName(QStringLiteral("Busy"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    Theme::follow(this, &Spinner::updateGeometry);
}

QSize Spinner::sizeHint() const {
    const int edge = Theme::length(diameter_);
    return {edge, edge};
}

void Spinner::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    timer_.start(kTurnMs / kSpokes, this);
}

void Spinner::hideEvent(QHideEvent* event) {
    timer_.stop();
    QWidget::hideEvent(event);
}

void Spinner::timerEvent(QTimerEvent* event) {
    if (event->timerId() != timer_.timerId())
        return QWidget::timerEvent(event);
    step_ = (step_ + 1) % kSpokes;
    update();
}

void Spinner::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(QRectF(rect()).center());
    const double radius = std::min(width(), height()) / 2.0;
    const double thickness = radius * 0.2;
    QColor colour = palette().color(QPalette::WindowText);
    for (int spoke = 0; spoke < kSpokes; ++spoke) {
        const int age = (step_ - spoke + kSpokes) % kSpokes;
        colour.setAlphaF(0.12F + 0.5F * static_cast<float>(kSpokes - 1 - age) / (kSpokes - 1));
        painter.setPen(QPen(colour, thickness, Qt::SolidLine, Qt::RoundCap));
        painter.save();
        painter.rotate(spoke * 360.0 / kSpokes);
        painter.drawLine(QPointF(0, -radius * 0.48), QPointF(0, -radius + thickness / 2));
        painter.restore();
    }
}

} // namespace ambrel
