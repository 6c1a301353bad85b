#pragma once

#include <QEventLoop>
#include <QMainWindow>
#include <QProcess>
#include <QTemporaryDir>

#include "app/AppState.h"
#include "audio/AudioEngine.h"
#include "download/URLDownloader.h"
#include "platform/desktop/MainQueue.h"
#include "platform/desktop/NotificationCenter.h"
#include "platform/store/Preferences.h"
#include "store/DownloadSettingsStore.h"
#include "store/RecentFilesStore.h"
#include "store/SettingsStore.h"
#include "ui/window/ContentView.h"
#include "waveform/WaveformCache.h"

namespace ambrel {

/// The main window on stores of its own, in a folder that files can be made in as well. One a
/// program: it uses the application's engine.
struct BenchWindow {
    QTemporaryDir home;
    Preferences preferences{home.filePath(QStringLiteral("preferences.sqlite")).toStdString()};
    SettingsStore settings{preferences};
    RecentFilesStore recentFiles{preferences};
    WaveformCache waveformCache{preferences};
    DownloadSettingsStore downloadSettings{preferences};
    std::shared_ptr<AppState> state = AppState::create(settings, MainQueue::shared());
    QMainWindow window;
    ContentView* content = new ContentView(
        {state, AudioEngine::shared(), settings, recentFiles, waveformCache, MainQueue::shared(),
         NotificationCenter::shared(), downloadSettings, URLDownloader::shared()});

    BenchWindow() {
        window.setCentralWidget(content);
        window.resize(780, 680);
        window.show();
    }

    /// From the choice of a file until it is loaded.
    void load(const QUrl& file) {
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

    /// A file in the folder, as ffmpeg makes it of these arguments; ends the program if it cannot.
    QString make(const QString& name, const QStringList& arguments) const {
        const QString path = home.filePath(name);
        const int status =
            QProcess::execute(QStringLiteral("ffmpeg"),
                              QStringList{QStringLiteral("-nostdin"), QStringLiteral("-loglevel"),
                                          QStringLiteral("error"), QStringLiteral("-y")} +
                                  arguments + QStringList{path});
        if (status != 0)
            qFatal("ffmpeg could not make %s.", qPrintable(name));
        return path;
    }
};

} // namespace ambrel
