// The work of each picture while the waveform of an hour is zoomed with the wheel, in and out, in a
// window 2,560 points wide at two pixels a point: the processor time of the main thread from the
// wheel's event to the end of painting, of which a display with 60 pictures a second leaves 16 ms.
// Needs no display: QT_QPA_PLATFORM=offscreen.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <vector>

#include <QApplication>
#include <QWheelEvent>

#include "BenchWindow.h"
#include "waveform/view/WaveformNSView.h"

using namespace ambrel;

namespace {

constexpr double allowedMs = 8;
constexpr int notches = 120; // in and out, and again elsewhere

double workMs() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return 1e3 * double(now.tv_sec) + 1e-6 * double(now.tv_nsec);
}

void turnWheel(QWidget& view, double place, int angle) {
    const QPointF at(place * view.width(), view.height() / 2.0);
    QWheelEvent event(at, view.mapToGlobal(at), {}, {0, angle}, Qt::NoButton, Qt::ControlModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&view, &event);
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_SCALE_FACTOR", "2");
    QApplication application(argc, argv);
    BenchWindow window;
    window.window.resize(2560, 1400);
    const auto noise = QStringLiteral("-f lavfi -i anoisesrc=color=pink:duration=3600");
    window.load(QUrl::fromLocalFile(
        window.make(QStringLiteral("hour.flac"), noise.split(QLatin1Char(' ')))));
    auto* view = window.window.findChild<WaveformNSView*>();
    QApplication::processEvents();
    std::vector<double> pictures;
    for (int notch = 0; notch < notches; ++notch) {
        const double before = workMs();
        turnWheel(*view, notch < notches / 2 ? 0.3 : 0.8, notch % 60 < 30 ? 120 : -120);
        QApplication::processEvents(); // paints
        pictures.push_back(workMs() - before);
    }
    std::ranges::sort(pictures);
    std::printf(
        "A picture while zooming over %d points at %.0fx: median %.1f ms, longest %.1f ms.\n",
        view->width(), view->devicePixelRatioF(), pictures[pictures.size() / 2], pictures.back());
    std::fflush(nullptr);
    std::_Exit(pictures.back() <= allowedMs ? EXIT_SUCCESS : EXIT_FAILURE);
}
