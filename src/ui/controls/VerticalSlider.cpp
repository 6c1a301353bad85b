#include "ui/controls/VerticalSlider.h"

#include <algorithm>
#include <cmath>

#include <QAccessibleWidget>
#include <QMouseEvent>
#include <QPainter>

#include "ui/look/AccessibleFactory.h"
#include "ui/look/Theme.h"

namespace ambrel {
namespace {

constexpr double kHighest = 12;    // dB; the lowest is its opposite
constexpr double kGrid = 0.5;      // dB
constexpr double kPage = 3;        // dB
constexpr QSizeF kSize(24, 140);   // points
constexpr double kKnobSize = 16;   // points
constexpr double kGrooveWidth = 4; // points

/// The slider counts in steps of 0.5 dB.
int stepsOf(double gain) {
    return int(std::lround(VerticalSlider::snapped(gain) / kGrid));
}

class SliderInterface : public QAccessibleWidget, public QAccessibleValueInterface {
  public:
    explicit SliderInterface(VerticalSlider* slider)
        : QAccessibleWidget(slider, QAccessible::Slider) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::ValueInterface)
            return static_cast<QAccessibleValueInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }
    QVariant currentValue() const override { return slider()->gain(); }
    void setCurrentValue(const QVariant& value) override { slider()->moveTo(value.toDouble()); }
    QVariant maximumValue() const override { return kHighest; }
    QVariant minimumValue() const override { return -kHighest; }
    QVariant minimumStepSize() const override { return kGrid; }

  private:
    VerticalSlider* slider() const { return static_cast<VerticalSlider*>(widget()); }
};

} // namespace

VerticalSlider::VerticalSlider(const QString& accessibleName, QWidget* parent)
    : QAbstractSlider(parent) {
    describeBy<VerticalSlider, SliderInterface>();
    setAccessibleName(accessibleName);
    setAccessibleDescription(QStringLiteral("dB"));
    setOrientation(Qt::Vertical);
    setRange(-stepsOf(kHighest), stepsOf(kHighest));
    setSingleStep(1);
    setPageStep(stepsOf(kPage));
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    // Keys and wheel: the new position is set when the action is signalled, and becomes the value
    // afterwards.
    connect(this, &QAbstractSlider::actionTriggered, this, [this] {
        setValue(sliderPosition());
        Q_EMIT moved(gain());
    });
    Theme::follow(this, &VerticalSlider::updateGeometry);
}

double VerticalSlider::snapped(double gain) {
    return std::round(2 * std::clamp(gain, -kHighest, kHighest)) / 2;
}

double VerticalSlider::gain() const {
    return value() * kGrid;
}

void VerticalSlider::showGain(double gain) {
    setValue(stepsOf(gain));
}

void VerticalSlider::moveTo(double gain) {
    showGain(gain);
    Q_EMIT moved(this->gain());
}

QSize VerticalSlider::sizeHint() const {
    return {Theme::length(kSize.width()), Theme::length(kSize.height())};
}

double VerticalSlider::knobHeight() const {
    return Theme::length(kKnobSize);
}

double VerticalSlider::centreOf(double gain) const {
    const double travel = height() - knobHeight();
    return knobHeight() / 2 + travel * (kHighest - gain) / (2 * kHighest);
}

double VerticalSlider::gainAt(double y) const {
    const double travel = std::max(1.0, height() - knobHeight());
    return kHighest - (y - knobHeight() / 2) / travel * 2 * kHighest;
}

bool VerticalSlider::event(QEvent* event) {
    if (event->type() == QEvent::HoverEnter || event->type() == QEvent::HoverLeave)
        update();
    return QAbstractSlider::event(event);
}

void VerticalSlider::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return event->ignore();
    setSliderDown(true);
    grabOffset_ = event->position().y() - centreOf(gain());
    // A press off the knob moves it to the pointer; a press on it waits for a move.
    isOnKnob_ = std::abs(grabOffset_) <= knobHeight() / 2;
    if (!isOnKnob_) {
        grabOffset_ = 0;
        moveTo(gainAt(event->position().y()));
    }
}

void VerticalSlider::mouseMoveEvent(QMouseEvent* event) {
    if (isSliderDown())
        moveTo(gainAt(event->position().y() - grabOffset_));
}

void VerticalSlider::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        setSliderDown(false);
}

void VerticalSlider::mouseDoubleClickEvent(QMouseEvent* event) {
    // Off the knob, the first click has already moved it here, which is what the user wants.
    if (event->button() == Qt::LeftButton && isOnKnob_)
        moveTo(0);
    else
        mousePressEvent(event);
}

void VerticalSlider::wheelEvent(QWheelEvent* event) {
    if (hasFocus())
        QAbstractSlider::wheelEvent(event);
    else
        event->ignore();
}

void VerticalSlider::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor line = Theme::divider(palette());
    const QColor accent = isEnabled() ? Theme::accent(palette()) : line;
    const double middle = width() / 2.0;
    const double groove = Theme::length(kGrooveWidth);
    const double zero = centreOf(0);
    const double knob = centreOf(gain());

    painter.fillRect(QRectF(0, zero - 0.5, width(), 1),
                     Theme::shapeColour(palette(), Theme::TextColour::tertiary));
    painter.setPen(Qt::NoPen);
    painter.setBrush(line);
    painter.drawRoundedRect(
        QRectF(middle - groove / 2, knobHeight() / 2, groove, height() - knobHeight()), groove / 2,
        groove / 2);
    painter.setBrush(accent);
    painter.drawRect(QRectF(QPointF(middle - groove / 2, std::min(zero, knob)),
                            QPointF(middle + groove / 2, std::max(zero, knob))));

    const double radius = knobHeight() / 2 - 1.5;
    if (hasFocus()) {
        painter.setPen(QPen(Theme::accent(palette()), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 4, 4);
    }
    painter.setPen(QPen(Theme::shapeColour(palette(), Theme::TextColour::tertiary), 1));
    painter.setBrush(value() != 0 ? accent : palette().color(QPalette::Button));
    painter.drawEllipse(QPointF(middle, knob), radius, radius);
}

} // namespace ambrel
