// Coming back to an hour-long file whose waveform is kept: from the choice to the shown waveform,
// against opening the file and nothing else; building the panels; and a key, from its event to the
// parameter in the sound graph. Needs no display: QT_QPA_PLATFORM=offscreen.
//
// AMBREL_BENCH_FILE names the file; without it an hour of noise is encoded as FLAC first.

#include <cstdio>

#include <QApplication>
#include <QKeyEvent>
#include <QWindow>
#include <benchmark/benchmark.h>

#include "BenchWindow.h"
#include "audio/LocalPath.h"
#include "platform/sound/AudioFile.h"
#include "ui/window/KeyHandler.h"

using namespace ambrel;

namespace {

/// The window with the file loaded once.
struct Player : BenchWindow {
    QUrl file = QUrl::fromLocalFile(recording());
    KeyHandler keys{AudioEngine::shared()};

    Player() {
        keys.start(state);
        load();
    }

    static Player& shared() {
        static auto* player = new Player;
        return *player;
    }

    void load() { BenchWindow::load(file); }

    QString recording() const {
        const QString named = qEnvironmentVariable("AMBREL_BENCH_FILE");
        if (!named.isEmpty())
            return named;
        return make(QStringLiteral("hour.flac"),
                    {QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                     QStringLiteral("anoisesrc=color=pink:sample_rate=44100:duration=3600"),
                     QStringLiteral("-ac"), QStringLiteral("2")});
    }
};

void reopen(benchmark::State& run) {
    Player& player = Player::shared();
    for (auto _ : run) {
        player.load();
        run.PauseTiming();
        QCoreApplication::processEvents();
        run.ResumeTiming();
    }
}
BENCHMARK(reopen)->UseRealTime()->Unit(benchmark::kMillisecond);

void openOnly(benchmark::State& run) {
    const auto path = localPath(Player::shared().file);
    for (auto _ : run)
        benchmark::DoNotOptimize(AudioFile::open(path));
}
BENCHMARK(openOnly)->UseRealTime()->Unit(benchmark::kMillisecond);

void buildPanels(benchmark::State& run) {
    Player& player = Player::shared();
    for (auto _ : run) {
        run.PauseTiming();
        player.state->setLoadingState(LoadingState::loading(QString()));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        run.ResumeTiming();
        player.state->setLoadingState(LoadingState::loaded());
    }
}
BENCHMARK(buildPanels)->UseRealTime()->Unit(benchmark::kMillisecond);

void keyToParameter(benchmark::State& run) {
    Player& player = Player::shared();
    QKeyEvent up(QEvent::KeyPress, Qt::Key_Up, Qt::ControlModifier);
    QKeyEvent down(QEvent::KeyPress, Qt::Key_Down, Qt::ControlModifier);
    bool isUp = false;
    for (auto _ : run) {
        isUp = !isUp;
        QCoreApplication::sendEvent(player.window.windowHandle(), isUp ? &up : &down);
    }
}
BENCHMARK(keyToParameter)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    QApplication application(argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    std::fflush(nullptr);
    std::_Exit(0); // the shared window is not worth taking down
}
