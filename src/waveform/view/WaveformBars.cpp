#include "waveform/view/WaveformBars.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <vector>

#include <QImage>
#include <QPainter>

namespace ambrel {
namespace {

constexpr double gap = 0.5;          // points between bars
constexpr double narrowestBar = 1.0; // points

// With so many bars over each pixel more of them change nothing that can be seen.
constexpr double barsPerPixel = 8;

/// The bar that `position` falls on, for any position.
std::size_t clampedIndex(double position, std::size_t count) {
    if (!(position > 0))
        return 0;
    return position >= double(count) ? count : std::size_t(position);
}

/// One column of pixels, blended bar by bar.
///
/// A bar is symmetrical about the middle, so one half of the column is enough: pixel 0 touches the
/// middle line and higher ones lie further out. Bars of one colour that follow one another make a
/// run. Within a run order does not matter, and what shines through is a product; so a bar only
/// leaves its factor where it ends, and the run's end multiplies them up from the tips inwards.
class Column {
  public:
    /// A column of `rows` pixels with the middle line at `middle` (a whole number or a half).
    Column(int rows, double middle)
        : rows_(rows), middleRow_(int(std::floor(middle))), offset_(middle - middleRow_),
          reach_(std::size_t(std::max(middle, rows - middle)) + 2), whole_(reach_, 1.0F),
          tips_(reach_, 1.0F), inRegion_(reach_, 0.0F), outside_(reach_, 0.0F) {}

    /// A bar that reaches `half` pixels to either side of the middle.
    void add(double half, double opacity) {
        const auto tip = std::min(std::size_t(half + offset_), reach_ - 1);
        const double inner = tip == 0 ? 0 : double(tip) - offset_;
        const double covered = (half - inner) / (double(tip) + 1 - offset_ - inner);
        tips_[tip] *= float(1 - opacity * std::min(covered, 1.0));
        if (tip > 0)
            whole_[tip - 1] *= float(1 - opacity);
        runEnd_ = std::max(runEnd_, tip + 1);
    }

    /// Blends the bars added since the last call over what is there.
    void finishRun(bool inRegion) {
        std::vector<float>& own = inRegion ? inRegion_ : outside_;
        float through = 1;
        for (std::size_t i = runEnd_; i-- > 0;) {
            through *= whole_[i];
            const float left = through * tips_[i];
            inRegion_[i] *= left;
            outside_[i] *= left;
            own[i] += 1 - left;
            whole_[i] = tips_[i] = 1;
        }
        end_ = std::max(end_, runEnd_);
        runEnd_ = 0;
    }

    /// Writes the column into `image` and is empty again.
    void write(QImage& image, int x, QRgb inRegion, QRgb outside) {
        const auto stride = image.bytesPerLine() / qsizetype(sizeof(QRgb));
        auto* const top = reinterpret_cast<QRgb*>(image.bits()) + x;
        for (std::size_t i = 0; i < end_; ++i) {
            const QRgb pixel = mixed(inRegion_[i], inRegion, outside_[i], outside);
            const int below = middleRow_ + int(i);
            const int above = offset_ > 0 ? middleRow_ - int(i) : middleRow_ - 1 - int(i);
            if (below < rows_)
                top[below * stride] = pixel;
            if (above >= 0)
                top[above * stride] = pixel;
            inRegion_[i] = outside_[i] = 0;
        }
        end_ = 0;
    }

  private:
    static QRgb mixed(float weightA, QRgb a, float weightB, QRgb b) {
        const auto channel = [&](int ofA, int ofB) {
            return int(weightA * float(ofA) + weightB * float(ofB) + 0.5F);
        };
        return qRgba(channel(qRed(a), qRed(b)), channel(qGreen(a), qGreen(b)),
                     channel(qBlue(a), qBlue(b)), channel(255, 255));
    }

    int rows_;
    int middleRow_;
    double offset_; ///< 0.5 when the middle line runs through pixel 0 of both halves
    std::size_t reach_;
    std::size_t runEnd_ = 0;
    std::size_t end_ = 0;
    std::vector<float> whole_;    ///< what shines through the bars that cover pixels 0 to i
    std::vector<float> tips_;     ///< what shines through the bars that end in pixel i
    std::vector<float> inRegion_; ///< share of each colour in the pixels so far
    std::vector<float> outside_;
};

/// Adds to columns the bars that lie over them.
class ColumnFiller {
  public:
    ColumnFiller(const WaveformBars& bars, double pixelsPerPoint)
        : bars_(bars), pixelsPerPoint_(pixelsPerPoint),
          content_(bars.geometry.width * bars.geometry.zoomLevel),
          level_(bars.peaks.withAtLeast(content_ * pixelsPerPoint * barsPerPixel)),
          pitch_(content_ / double(bars.peaks.count()) * double(level_.peaksPerValue)),
          barWidth_(std::max(pitch_ - gap, narrowestBar)) {}

    bool drawsNothing() const { return !(pitch_ > 0) || !std::isfinite(pitch_); }

    /// Fills the column between `left` and `right`, in points of the view.
    void fill(Column& column, double left, double right) const {
        const double pan = bars_.geometry.panOffset;
        const std::size_t count = level_.values.size();
        const std::size_t end = clampedIndex((right + pan) / pitch_ + 1, count);
        bool run = false;
        for (auto i = clampedIndex((left + pan - barWidth_) / pitch_, count); i < end; ++i) {
            const double x = pitch_ * double(i) - pan;
            const double covered = std::min(right, x + barWidth_) - std::max(left, x);
            const double half = halfHeight(level_.values[i]);
            if (!(covered > 0) || !(half > 0))
                continue;
            const bool selected = isInRegion(i);
            if (selected != run)
                column.finishRun(run);
            run = selected;
            const QColor& colour = selected ? bars_.inRegion : bars_.outside;
            const double share = std::min(covered * pixelsPerPoint_, 1.0);
            column.add(half, colour.alphaF() * share);
        }
        column.finishRun(run);
    }

  private:
    double halfHeight(float value) const {
        return std::min(double(value), 1.0) * bars_.height / 2 * pixelsPerPoint_;
    }

    bool isInRegion(std::size_t i) const {
        const double fraction = double(i * level_.peaksPerValue) / double(bars_.peaks.count());
        const double time = fraction * bars_.geometry.duration;
        return bars_.regionStart <= time && time <= bars_.regionEnd;
    }

    const WaveformBars& bars_;
    double pixelsPerPoint_;
    double content_; ///< points
    WaveformLevels::Level level_;
    double pitch_; ///< points from bar to bar
    double barWidth_;
};

} // namespace

void WaveformBars::draw(QPainter& painter, const QRect& area) const {
    const QTransform toDevice = painter.deviceTransform();
    const double scale = toDevice.m11();
    const QRectF strip(area.x(), 0, area.width(), height);
    const QRect pixels = toDevice.mapRect(strip).toAlignedRect();
    const ColumnFiller filler(*this, scale);
    if (pixels.isEmpty() || filler.drawsNothing())
        return;
    QImage image(pixels.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    // To the nearest half pixel, so that both halves meet the pixels alike.
    const double middle = toDevice.map(QPointF(0, height / 2)).y() - pixels.top();
    Column column(pixels.height(), std::round(middle * 2) / 2);
    for (int x = 0; x < pixels.width(); ++x) {
        const double left = (pixels.left() + x - toDevice.dx()) / scale;
        filler.fill(column, left, left + 1 / scale);
        column.write(image, x, inRegion.rgb(), outside.rgb());
    }
    painter.save();
    painter.setWorldTransform(toDevice.inverted() * painter.worldTransform());
    painter.drawImage(pixels.topLeft(), image);
    painter.restore();
}

} // namespace ambrel
