// What it costs to paint the waveform: all of it (after a change of region, zoom or size), and the
// strips that a step of the play head leaves (twenty times a second).

#include <cmath>
#include <vector>

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QImage>
#include <QPainter>

#include "waveform/view/WaveformNSView.h"

using namespace ambrel;

namespace {

std::vector<float> someMusic(std::size_t count) {
    std::vector<float> peaks(count);
    for (std::size_t i = 0; i < count; ++i)
        peaks[i] = float(0.5 + 0.4 * std::sin(double(i) * 0.37) * std::sin(double(i) * 0.011));
    return peaks;
}

struct Fixture {
    Fixture(std::size_t peaks, int width, double scale)
        : image(QSize(width, 100) * scale, QImage::Format_ARGB32_Premultiplied) {
        view.resize(width, 100);
        view.setCornerRadius(4);
        view.setSamples(someMusic(peaks));
        view.setDuration(180);
        view.setRegionStart(60);
        view.setRegionEnd(90);
        view.setIsPlaying(true);
        view.setPlaybackPosition(75);
        image.setDevicePixelRatio(scale);
        image.fill(Qt::transparent);
    }

    void paint(const QRegion& area) {
        QPainter painter(&image);
        view.render(&painter, area.boundingRect().topLeft(), area, QWidget::DrawChildren);
    }

    WaveformNSView view;
    QImage image;
};

/// Arguments: peaks, width in points, percent of pixels per point, zoom.
void paintAll(benchmark::State& state) {
    Fixture fixture(std::size_t(state.range(0)), int(state.range(1)), state.range(2) / 100.0);
    fixture.view.setZoomLevel(double(state.range(3)));
    fixture.view.setPanOffset(double(state.range(1)) * double(state.range(3) - 1) / 2);
    for (auto _ : state)
        fixture.paint(fixture.view.rect());
}
BENCHMARK(paintAll)
    ->ArgNames({"peaks", "width", "scale", "zoom"})
    ->Args({2005, 648, 100, 1})
    ->Args({2005, 1888, 100, 1})
    ->Args({2005, 1888, 200, 1})
    ->Args({2005, 1888, 200, 50})
    ->Args({35'000, 1888, 200, 1})
    ->Args({4'000'000, 1888, 200, 1})
    ->Unit(benchmark::kMicrosecond);

void paintPlayheadStep(benchmark::State& state) {
    Fixture fixture(std::size_t(state.range(0)), 1888, 2);
    for (auto _ : state)
        fixture.paint(QRect(785, 0, 7, 100));
}
BENCHMARK(paintPlayheadStep)
    ->ArgName("peaks")
    ->Arg(2005)
    ->Arg(4'000'000)
    ->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
