// Coming back to an hour-long file whose waveform is kept: from the choice to the shown waveform,
// against opening the file and nothing else; building the panels; and a key, from its event to the
// parameter in the sound graph. Needs no display: QT_QPA_PLATFORM=offscreen.
//
// AMBREL_BENCH_FILE names the file; without it an hour of noise is encoded as FLAC first.

#include <chrono>
#include <cstdio>

#include <QApplication>
#include <QEventLoop>
#include <QKeyEvent>
#include <QMainWindow>
#include <QProcess>
#include <QTemporaryDir>
#include <QWindow>
#include <benchmark/benchmark.h>

#include "app/AppState.h"
#include "audio/AudioEngine.h"
#include "audio/LocalPath.h"
#include "download/URLDownloader.h"
#include "platform/desktop/MainQueue.h"
#include "platform/desktop/NotificationCenter.h"
#include "platform/sound/AudioFile.h"
#include "platform/store/Preferences.h"
#include "store/DownloadSettingsStore.h"
#include "store/RecentFilesStore.h"
#include "store/SettingsStore.h"
#include "ui/ContentView.h"
#include "ui/KeyHandler.h"
#include "waveform/WaveformCache.h"

using namespace ambrel;

namespace {

/// The window on stores of its own, with the file loaded once.
struct Player {
    QTemporaryDir home;
    QUrl file = QUrl::fromLocalFile(recording());
    Preferences preferences{home.filePath(QStringLiteral("preferences.sqlite")).toStdString()};
    SettingsStore settings{preferences};
    RecentFilesStore recentFiles{preferences};
    WaveformCache waveformCache{preferences};
    DownloadSettingsStore downloadSettings{preferences};
    std::shared_ptr<AppState> state = AppState::create(settings, MainQueue::shared());
    KeyHandler keys{AudioEngine::shared()};
    QMainWindow window;
    ContentView* content = new ContentView(
        {state, AudioEngine::shared(), settings, recentFiles, waveformCache, MainQueue::shared(),
         NotificationCenter::shared(), downloadSettings, URLDownloader::shared()});

    Player() {
        window.setCentralWidget(content);
        window.resize(780, 680);
        window.show();
        keys.start(state);
        load();
    }

    static Player& shared() {
        static auto* player = new Player;
        return *player;
    }

    void load() {
        QEventLoop loop;
        const auto waiting =
            QObject::connect(state.get(), &AppState::changed, &loop, [&](AppState::Field) {
                if (state->loadingState().isLoaded())
                    loop.quit();
            });
        content->loadFile(file, true);
        loop.exec();
        QObject::disconnect(waiting);
    }

    QString recording() const {
        const QString named = qEnvironmentVariable("AMBREL_BENCH_FILE");
        if (!named.isEmpty())
            return named;
        const QString path = home.filePath(QStringLiteral("hour.flac"));
        QProcess::execute(QStringLiteral("ffmpeg"),
                          {QStringLiteral("-loglevel"), QStringLiteral("error"),
                           QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                           QStringLiteral("anoisesrc=color=pink:sample_rate=44100:duration=3600"),
                           QStringLiteral("-ac"), QStringLiteral("2"), path});
        return path;
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
