// ambrel-screenshots FOLDER RECORDING
//
// Writes pictures to FOLDER: of the window's three screens, of which the working screen shows
// RECORDING; of the sheet for web addresses, idle, running and failed; and of the settings window
// with presets, with custom limits and asking before it clears; and of the help. In a light and a
// dark palette, at the window's first and its smallest size, and with large body fonts. For other
// scales of the screen set QT_SCALE_FACTOR. Needs no display: QT_QPA_PLATFORM=offscreen.

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include <QApplication>
#include <QDir>
#include <QEventLoop>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenuBar>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>

#include "app/AppState.h"
#include "app/CacheMaintenance.h"
#include "app/Notifications.h"
#include "app/main/AppCommands.h"
#include "audio/AudioEngine.h"
#include "download/URLDownloader.h"
#include "download/sheet/OpenFromURLSheet.h"
#include "platform/desktop/MainQueue.h"
#include "platform/desktop/NotificationCenter.h"
#include "platform/store/Preferences.h"
#include "store/DownloadSettingsStore.h"
#include "store/RecentFilesStore.h"
#include "store/SettingsStore.h"
#include "ui/look/Theme.h"
#include "ui/settings/CacheSettingsView.h"
#include "ui/settings/ClearConfirmation.h"
#include "ui/settings/SettingsWindow.h"
#include "ui/sheets/HelpSheet.h"
#include "ui/window/ContentView.h"
#include "ui/window/KeyResponderNSView.h"
#include "waveform/WaveformCache.h"
#include "waveform/WaveformGenerator.h"

using namespace ambrel;

namespace {

QPalette darkPalette() {
    QPalette palette(QColor(0x3A, 0x3A, 0x3C), QColor(0x24, 0x24, 0x26));
    palette.setColor(QPalette::Base, QColor(0x1C, 0x1C, 0x1E));
    palette.setColor(QPalette::Highlight, QColor(0x35, 0x84, 0xE4));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    return palette;
}

struct Look {
    QString name;
    QPalette palette;
    QSize size; ///< points
    double fontPoints;
};

class Gallery {
  public:
    Gallery(QDir folder, const QString& recording)
        : folder_(std::move(folder)), recording_(QUrl::fromLocalFile(recording)),
          peaks_(WaveformGenerator::extract(
              recording_, [](double, const std::string&) {}, ending_)) {
        for (int number = 10; number > 0; --number)
            recentFiles_.push(QUrl::fromLocalFile(
                QStringLiteral("/music/Take %1, slow blues in A.flac").arg(number)));
        for (int number = 0; number < 312; ++number)
            preferences_.set(QStringLiteral("waveformCache./%1").arg(number),
                             QByteArray(10'900, 'x'));
    }

    void take(const Look& look) {
        QApplication::setPalette(look.palette);
        QFont body = QApplication::font();
        body.setPointSizeF(look.fontPoints);
        QApplication::setFont(body);

        QMainWindow window;
        new KeyResponderNSView(state_, AudioEngine::shared(), MainQueue::shared(), &window);
        window.setCentralWidget(
            new ContentView({state_, AudioEngine::shared(), settings_, recentFiles_, waveformCache_,
                             MainQueue::shared(), NotificationCenter::shared(), downloads_,
                             downloader_, [] {}, QUrl(QStringLiteral("https://example.org"))}));
        commands::addMenus(*window.menuBar(), recentFiles_, NotificationCenter::shared(), [] {});
        window.resize(Theme::windowSize(look.size, window.screen()));
        window.show();
        state_->setLoadingState(LoadingState::idle());
        save(window, look, QStringLiteral("welcome"));
        state_->setAudioFileURL(recording_);
        state_->setLoadingState(
            LoadingState::loading(QStringLiteral("Generating waveform... 40%")));
        save(window, look, QStringLiteral("loading"));
        showRecording();
        save(window, look, QStringLiteral("working"));
        takeSheet(window, look);
        state_->setIsShowingHelp(true);
        save(*window.findChild<HelpSheet*>(), look, QStringLiteral("help"));
        state_->setIsShowingHelp(false);
        state_->setAudioFileURL(std::nullopt);
        takeSettings(look);
    }

  private:
    void takeSettings(const Look& look) {
        waveformCache_.setMaxTotalBytes(100 * 1'048'576);
        waveformCache_.setMaxAgeSeconds(180 * 86'400.0);
        auto presets = openSettings();
        save(*presets, look, QStringLiteral("settings"));
        presets.reset();
        waveformCache_.setMaxTotalBytes(250 * 1'048'576);
        waveformCache_.setMaxAgeSeconds(45 * 86'400.0);
        auto custom = openSettings();
        save(*custom, look, QStringLiteral("settings-custom"));
        for (auto* button : custom->findChildren<QPushButton*>()) {
            if (button->accessibleName() == QStringLiteral("Clear Cache…"))
                button->click();
        }
        save(*custom->findChild<ClearConfirmation*>(), look, QStringLiteral("settings-clear"));
    }

    /// With its figures in it.
    std::unique_ptr<SettingsWindow> openSettings() {
        auto settings = std::make_unique<SettingsWindow>(
            new CacheSettingsView({waveformCache_, maintenance_, downloads_}));
        QEventLoop counting;
        QObject::connect(&maintenance_, &CacheMaintenance::statsRefreshed, &counting,
                         &QEventLoop::quit);
        settings->show();
        counting.exec();
        return settings;
    }

    /// As it opens, while it downloads, and when that has failed.
    void takeSheet(QMainWindow& window, const Look& look) {
        NotificationCenter::shared().post(notifications::openFromURL);
        auto* sheet = window.findChild<OpenFromURLSheet*>();
        save(*sheet, look, QStringLiteral("sheet"));
        sheet->findChild<QLineEdit*>()->setText(
            QStringLiteral("https://example.com/slow-blues-in-a.mp3"));
        writeProgram(QStringLiteral("ffmpeg"), {});
        writeProgram(
            QStringLiteral("my-executable"),
            "sleep 1; echo 'ERROR: [generic] Unable to download webpage: HTTP Error 404: Not "
            "Found (caused by <HTTPError 404>)' >&2; exit 1");
        QTest::keyClick(sheet, Qt::Key_Return);
        save(*sheet, look, QStringLiteral("sheet-running"));
        const auto* error = sheet->findChild<QTextEdit*>();
        if (!QTest::qWaitFor([error] { return error->isVisible(); }))
            std::fputs("The sheet shows no failure.\n", stderr);
        save(*sheet, look, QStringLiteral("sheet-failed"));
    }

    void writeProgram(const QString& name, const QByteArray& script) {
        QFile file(home_.filePath(name));
        if (!file.open(QIODevice::WriteOnly))
            return;
        file.write("#!/bin/sh\n" + script + '\n');
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    void showRecording() {
        state_->setAudioDuration(10);
        state_->setRegionStart(2.4);
        state_->setRegionEnd(4.8);
        state_->setPlaybackPosition(3.506);
        state_->setIsPlaying(true);
        state_->setSpeed(75);
        state_->setPitch(200);
        state_->setEqEnabled(true);
        state_->setEqGains({3, 0, -2.5, 1.5, 0});
        state_->setLoopEnabled(true);
        state_->setLoopDelayMilliseconds(500);
        state_->setWaveformSamples(peaks_);
        state_->setLoadingState(LoadingState::loaded());
    }

    void save(QWidget& window, const Look& look, const QString& screen) {
        QCoreApplication::processEvents();
        const QString path = folder_.filePath(QStringLiteral("%1-%2.png").arg(screen, look.name));
        if (!window.grab().save(path))
            std::fprintf(stderr, "%s could not be written.\n", qPrintable(path));
    }

    QDir folder_;
    QUrl recording_;
    std::atomic<bool> ending_ = false;
    std::vector<float> peaks_;
    QTemporaryDir home_;
    Preferences preferences_{home_.filePath(QStringLiteral("preferences.sqlite")).toStdString()};
    SettingsStore settings_{preferences_};
    RecentFilesStore recentFiles_{preferences_};
    WaveformCache waveformCache_{preferences_};
    DownloadSettingsStore downloads_{preferences_};
    CacheMaintenance maintenance_{waveformCache_, settings_, MainQueue::shared()};
    URLDownloader downloader_{MainQueue::shared(), home_.path()};
    std::shared_ptr<AppState> state_ = AppState::create(settings_, MainQueue::shared());
};

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() != 3) {
        std::fputs("Usage: ambrel-screenshots FOLDER RECORDING\n", stderr);
        return 2;
    }
    const QPalette light = QApplication::palette();
    const double fontPoints = QApplication::font().pointSizeF();
    Gallery gallery(QDir(arguments[1]), QDir::current().absoluteFilePath(arguments[2]));
    for (const Look& look :
         {Look{QStringLiteral("light"), light, QSize(780, 680), fontPoints},
          Look{QStringLiteral("tall"), light, QSize(780, 880), fontPoints},
          Look{QStringLiteral("dark"), darkPalette(), QSize(780, 680), fontPoints},
          Look{QStringLiteral("small"), light, QSize(680, 580), fontPoints},
          Look{QStringLiteral("font-13"), light, QSize(680, 580), 13},
          Look{QStringLiteral("font-16"), darkPalette(), QSize(680, 580), 16},
          Look{QStringLiteral("font-20"), light, QSize(680, 580), 20},
          Look{QStringLiteral("font-24"), darkPalette(), QSize(680, 580), 24}})
        gallery.take(look);
    return EXIT_SUCCESS;
}
