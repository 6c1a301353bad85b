#include "waveform/view/WaveformNSView.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <QAccessibleWidget>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <QWheelEvent>

#include "app/TimeText.h"
#include "waveform/view/WaveformBars.h"

namespace ambrel {
namespace {

const QColor startColour(52, 199, 89);
const QColor endColour(255, 59, 48);
const QColor outsideColour(128, 128, 128, 102); // 40 % opaque
const QColor playheadEdgeColour(0, 0, 0, 140);
constexpr double playheadEdgeWidth = 0.75; // points on either side
constexpr double leastPlayheadStep = 0.25; // pixels of the screen; a shorter one is not seen

constexpr double scrollFactor = 2;       // points of pan per point of scrolling
constexpr double anglePerPoint = 8;      // angle units of a wheel that has no points
constexpr double anglePerZoomStep = 360; // three notches of a wheel double the zoom

QAccessibleInterface* makeAccessible(const QString& className, QObject* object) {
    if (className != QLatin1String(WaveformNSView::staticMetaObject.className()))
        return nullptr;
    return new QAccessibleWidget(static_cast<QWidget*>(object), QAccessible::Graphic);
}

/// Points of horizontal scrolling; positive moves the content to the right.
double scrollingDeltaX(const QWheelEvent& event) {
    // X11 gives pixels in a unit of the driver's own.
    static const bool trustsPixels = QGuiApplication::platformName() != QLatin1String("xcb");
    const bool hasPixels = trustsPixels && !event.pixelDelta().isNull();
    const QPointF delta =
        hasPixels ? QPointF(event.pixelDelta()) : QPointF(event.angleDelta()) / anglePerPoint;
    const bool sideways = event.modifiers().testFlag(Qt::ShiftModifier) && delta.x() == 0;
    return sideways ? delta.y() : delta.x();
}

void drawLine(QPainter& painter, double x, double width, const QColor& colour) {
    const double bottom = painter.device()->height();
    // Far out of sight, or not a number: the painter's coordinates end long before those of double.
    if (std::abs(x) < 1e6)
        painter.fillRect(QRectF(x - width / 2, 0, width, bottom), colour);
}

} // namespace

WaveformNSView::WaveformNSView(QWidget* parent) : QWidget(parent) {
    static const bool installed = (QAccessible::installFactory(makeAccessible), true);
    Q_UNUSED(installed)
    setAccessibleName(tr("Waveform"));
    setCursor(Qt::ArrowCursor);
    updateDescription();
}

void WaveformNSView::setSamples(std::vector<float> samples) {
    endDrag();
    samples_ = WaveformLevels(std::move(samples));
    update();
}

void WaveformNSView::setDuration(double seconds) {
    if (seconds == duration_)
        return;
    endDrag();
    assign(duration_, seconds);
    updateDescription();
}

void WaveformNSView::setRegionStart(double seconds) {
    assign(regionStart_, seconds);
    updateDescription();
}

void WaveformNSView::setRegionEnd(double seconds) {
    assign(regionEnd_, seconds);
    updateDescription();
}

void WaveformNSView::setPlaybackPosition(double seconds) {
    const double step = geometry().toX(seconds) - geometry().toX(playbackPosition_);
    if (isPlaying_ && std::abs(step) * devicePixelRatioF() < leastPlayheadStep)
        return;
    updatePlayhead();
    playbackPosition_ = seconds;
    updatePlayhead();
}

void WaveformNSView::setIsPlaying(bool playing) {
    updatePlayhead();
    isPlaying_ = playing;
    updatePlayhead();
}

void WaveformNSView::setZoomLevel(double zoom) {
    assign(zoomLevel_, zoom);
}

void WaveformNSView::setPanOffset(double points) {
    assign(panOffset_, points);
}

void WaveformNSView::setCornerRadius(double points) {
    assign(cornerRadius_, points);
}

bool WaveformNSView::event(QEvent* event) {
    if (event->type() == QEvent::NativeGesture &&
        handlePinch(*static_cast<QNativeGestureEvent*>(event)))
        return true;
    return QWidget::event(event);
}

void WaveformNSView::hideEvent(QHideEvent* event) {
    endDrag();
    QWidget::hideEvent(event);
}

void WaveformNSView::paintEvent(QPaintEvent* event) {
    if (samples_.empty() || !(duration_ > 0))
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (cornerRadius_ > 0) {
        QPainterPath outline;
        outline.addRoundedRect(QRectF(rect()), cornerRadius_, cornerRadius_);
        painter.setClipPath(outline);
    }
    const WaveformGeometry mapping = geometry();
    // The colour of the active window also when another one is: the region stays what it is.
    const QColor accent = palette().color(QPalette::Active, QPalette::Highlight);
    const WaveformBars bars{samples_,   mapping, double(height()), regionStart_,
                            regionEnd_, accent,  outsideColour};
    for (const QRect& area : event->region())
        bars.draw(painter, area);
    drawLine(painter, mapping.toX(regionStart_), markerLineWidth, startColour);
    drawLine(painter, mapping.toX(regionEnd_), markerLineWidth, endColour);
    if (isPlaying_) {
        const double x = mapping.toX(playbackPosition_);
        drawLine(painter, x, playheadLineWidth + 2 * playheadEdgeWidth, playheadEdgeColour);
        drawLine(painter, x, playheadLineWidth, Qt::white);
    }
}

void WaveformNSView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    if (onResignFocus)
        onResignFocus();
    const double x = event->position().x();
    const double toStart = std::abs(x - geometry().toX(regionStart_));
    const double toEnd = std::abs(x - geometry().toX(regionEnd_));
    if (toStart <= handleHitRadius && toStart <= toEnd)
        dragMode_ = StartHandle{};
    else if (toEnd <= handleHitRadius)
        dragMode_ = EndHandle{};
    else
        dragMode_ = NewRegion{x};
    setCursor(std::holds_alternative<NewRegion>(dragMode_) ? Qt::CrossCursor : Qt::SizeHorCursor);
}

void WaveformNSView::mouseMoveEvent(QMouseEvent* event) {
    if (!isDragging() || !onRegionChange)
        return;
    const double time = geometry().toTime(event->position().x());
    if (std::holds_alternative<StartHandle>(dragMode_)) {
        onRegionChange(std::max(std::min(time, regionEnd_ - shortestHandleDrag), 0.0), regionEnd_);
    } else if (std::holds_alternative<EndHandle>(dragMode_)) {
        onRegionChange(regionStart_,
                       std::min(std::max(time, regionStart_ + shortestHandleDrag), duration_));
    } else {
        const double anchor = geometry().toTime(std::get<NewRegion>(dragMode_).anchor);
        onRegionChange(std::min(anchor, time), std::max(anchor, time));
    }
}

void WaveformNSView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    if (!isDragging())
        return;
    endDrag();
    if (onDragEnded)
        onDragEnded();
}

void WaveformNSView::wheelEvent(QWheelEvent* event) {
    if (event->modifiers().testFlag(Qt::ControlModifier)) {
        proposeZoom(event->position().x(),
                    zoomLevel_ * std::exp2(event->angleDelta().y() / anglePerZoomStep));
        return;
    }
    const double delta = scrollingDeltaX(*event);
    if (delta == 0 || !(zoomLevel_ > 1)) {
        event->ignore();
        return;
    }
    if (onZoomChange)
        onZoomChange(zoomLevel_, WaveformGeometry::clampedPan(panOffset_ - scrollFactor * delta,
                                                              width(), zoomLevel_));
}

WaveformGeometry WaveformNSView::geometry() const {
    return {double(width()), duration_, zoomLevel_, panOffset_};
}

void WaveformNSView::endDrag() {
    dragMode_ = None{};
    setCursor(Qt::ArrowCursor);
}

bool WaveformNSView::handlePinch(const QNativeGestureEvent& event) {
    switch (event.gestureType()) {
    case Qt::BeginNativeGesture:
    case Qt::EndNativeGesture:
        return true;
    case Qt::ZoomNativeGesture:
        proposeZoom(width() * 0.5, zoomLevel_ * (1 + event.value()));
        return true;
    default:
        return false;
    }
}

void WaveformNSView::proposeZoom(double x, double zoom) {
    const ZoomAndPan proposal = geometry().zoomedAbout(x, zoom);
    if (onZoomChange)
        onZoomChange(proposal.zoomLevel, proposal.panOffset);
}

void WaveformNSView::assign(double& field, double value) {
    if (field == value)
        return;
    field = value;
    update();
}

void WaveformNSView::updatePlayhead() {
    const double x = geometry().toX(playbackPosition_);
    if (!isPlaying_ || !(x > -width()) || !(x < 2 * width()))
        return;
    // A point to spare: at a fractional scale the area's edges fall within pixels, which are then
    // painted or not.
    const double half = playheadLineWidth / 2 + playheadEdgeWidth + 1;
    update(QRectF(x - half, 0, 2 * half, height()).toAlignedRect());
}

void WaveformNSView::updateDescription() {
    setAccessibleDescription(
        tr("Region %1 to %2 of %3")
            .arg(timeText(regionStart_), timeText(regionEnd_), timeText(duration_)));
}

} // namespace ambrel
