// How long the window goes without an answer while a file is loaded: the longest turn of the main
// thread from the choice of the file until its waveform has been painted, for files of 16 hours and
// of one, new and with their waveform kept. Needs no display: QT_QPA_PLATFORM=offscreen.
//
// A turn is taken as the time between two ticks of a 1 ms timer, which has waits for a processor in
// it; "in work" is the main thread's processor time in the turn that had most, which other programs
// do not lengthen.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include <QApplication>
#include <QTimer>

#include "BenchWindow.h"

using namespace ambrel;

namespace {

constexpr double allowedMs = 50;

double clockMs(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return 1e3 * static_cast<double>(now.tv_sec) + 1e-6 * static_cast<double>(now.tv_nsec);
}

/// The longest of the spans between marks, in ms of a clock.
class Longest {
  public:
    explicit Longest(clockid_t clock) : clock_(clock), since_(clockMs(clock)) {}

    void begin() { since_ = clockMs(clock_); }
    void end() { longest_ = std::max(longest_, clockMs(clock_) - since_); }
    double ms() const { return longest_; }

  private:
    clockid_t clock_;
    double since_;
    double longest_ = 0;
};

/// Watches the main thread for as long as it lives: the longest time between two ticks of a 1 ms
/// timer, and the most work in such a time.
class TickWatch : public QObject {
  public:
    Longest gap{CLOCK_MONOTONIC};
    Longest work{CLOCK_THREAD_CPUTIME_ID};

    TickWatch() {
        connect(&ticks_, &QTimer::timeout, this, [this] {
            gap.end();
            work.end();
            gap.begin();
            work.begin();
        });
        ticks_.setTimerType(Qt::PreciseTimer);
        ticks_.start(std::chrono::milliseconds(1));
    }

  private:
    QTimer ticks_;
};

void waitFor(std::chrono::milliseconds time) {
    QEventLoop loop;
    QTimer::singleShot(time, &loop, &QEventLoop::quit);
    loop.exec();
}

/// Whether the window answered in time.
bool measure(BenchWindow& window, const QString& path, const char* what) {
    waitFor(std::chrono::milliseconds(500)); // what the file before left to be done
    TickWatch watch;
    const double began = clockMs(CLOCK_MONOTONIC);
    window.load(QUrl::fromLocalFile(path));
    const double loadedMs = clockMs(CLOCK_MONOTONIC) - began;
    waitFor(std::chrono::milliseconds(300)); // it is painted
    std::printf(
        "%-9s %-9s %5.0f s of sound loaded in %6.0f ms; longest turn %5.1f ms, in work %5.1f ms\n",
        qPrintable(QUrl::fromLocalFile(path).fileName()), what, window.state->audioDuration(),
        loadedMs, watch.gap.ms(), watch.work.ms());
    std::fflush(stdout);
    return watch.gap.ms() <= allowedMs;
}

struct Recording {
    QString name;
    int hours;
    QStringList codec;
};

/// A tone in the first tenth, then silence.
QString make(const BenchWindow& window, const Recording& recording) {
    const QString sound =
        QStringLiteral("sine=440:sample_rate=16000:duration=%1,volume=0:enable='gt(t,%2)'")
            .arg(recording.hours * 3600)
            .arg(recording.hours * 360);
    return window.make(recording.name, QStringList{QStringLiteral("-f"), QStringLiteral("lavfi"),
                                                   QStringLiteral("-i"), sound} +
                                           recording.codec);
}

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    const auto codec = [](const char* arguments) {
        return QString::fromLatin1(arguments).split(QLatin1Char(' '));
    };
    bool isInTime = true;
    BenchWindow window;
    for (const Recording& recording : {
             Recording{QStringLiteral("16h.wav"), 16, codec("-ar 22050 -c:a pcm_u8")},
             Recording{QStringLiteral("16h.flac"), 16, codec("-c:a flac")},
             Recording{QStringLiteral("16h.mp3"), 16, codec("-c:a libmp3lame -b:a 24k")},
             Recording{QStringLiteral("16h.m4a"), 16, codec("-c:a aac -b:a 24k")},
             Recording{QStringLiteral("1h.mp3"), 1, codec("-ac 2 -c:a libmp3lame -b:a 192k")},
         }) {
        const QString path = make(window, recording);
        isInTime = measure(window, path, "new") && isInTime;
        isInTime = measure(window, path, "reopened") && isInTime;
    }
    std::printf("The window %s within %.0f ms.\n", isInTime ? "always answered" : "did not answer",
                allowedMs);
    std::fflush(nullptr);
    std::_Exit(isInTime ? EXIT_SUCCESS : EXIT_FAILURE); // the window is not worth taking down
}
