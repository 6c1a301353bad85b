// The settings window beside 10,000 cached waveforms (110 MB) and as many files' settings: how long
// it takes to open, when its figures follow, and what clearing all of it holds up on the main
// thread. Needs no display: QT_QPA_PLATFORM=offscreen.

#include <algorithm>
#include <chrono>
#include <cstdio>

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QLabel>
#include <QTemporaryDir>
#include <QTimer>

#include "platform/desktop/MainQueue.h"
#include "platform/store/Preferences.h"
#include "store/DownloadSettingsStore.h"
#include "store/SettingsStore.h"
#include "ui/look/TextLabel.h"
#include "ui/settings/SettingsScene.h"
#include "ui/settings/SettingsWindow.h"
#include "waveform/WaveformCache.h"

using namespace ambrel;

namespace {

constexpr int kRecords = 10'000;
constexpr int kPictureMs = 16;
constexpr qsizetype kRecordBytes = 10'900; ///< of a usual recording

double milliseconds(const QElapsedTimer& timer) {
    return double(timer.nsecsElapsed()) / 1e6;
}

/// Tells when a window has been painted.
class PaintWatch : public QObject {
  public:
    bool isPainted = false;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        isPainted |= event->type() == QEvent::Paint;
        return QObject::eventFilter(watched, event);
    }
};

class Bench {
  public:
    void fill() {
        const QByteArray waveform(kRecordBytes, 'x');
        for (int number = 0; number < kRecords; ++number) {
            const QString path = QStringLiteral("/music/take %1.flac").arg(number);
            preferences_.set(QStringLiteral("waveformCache.") + path, waveform);
            settings_.save(FileSettings(), QUrl::fromLocalFile(path));
        }
    }

    void open() {
        PaintWatch watch;
        QElapsedTimer timer;
        timer.start();
        scene_.open();
        SettingsWindow* window = openWindow();
        window->installEventFilter(&watch);
        while (!watch.isPainted)
            QCoreApplication::processEvents();
        std::printf("open    %6.1f ms until painted", milliseconds(timer));
        while (shownEntries(*window).isEmpty())
            QCoreApplication::processEvents();
        std::printf(", %.1f ms until the figures are there\n", milliseconds(timer));
        delete window;
    }

    /// While the open file's settings are saved with every picture.
    void clear() {
        CacheMaintenance maintenance(cache_, settings_, MainQueue::shared());
        QEventLoop clearing;
        QObject::connect(&maintenance, &CacheMaintenance::statsRefreshed, &clearing,
                         &QEventLoop::quit);
        double longest = 0;
        QTimer saving;
        saving.callOnTimeout([&] {
            QElapsedTimer turn;
            turn.start();
            settings_.save(FileSettings(), QUrl(QStringLiteral("file:///music/open.flac")));
            longest = std::max(longest, milliseconds(turn));
        });
        saving.start(kPictureMs);
        QElapsedTimer timer;
        timer.start();
        maintenance.clearAll();
        std::printf("clear   %6.1f ms on the main thread", milliseconds(timer));
        clearing.exec();
        std::printf(", done after %.1f ms, longest save meanwhile %.1f ms\n", milliseconds(timer),
                    longest);
    }

    void count() {
        QElapsedTimer timer;
        timer.start();
        cache_.entryKeys();
        const double keys = milliseconds(timer);
        cache_.totalBytes();
        std::printf("count   %6.1f ms, of which the keys %.1f ms\n", milliseconds(timer), keys);
    }

  private:
    static SettingsWindow* openWindow() {
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (auto* window = qobject_cast<SettingsWindow*>(widget))
                return window;
        return nullptr;
    }

    static QString shownEntries(const QWidget& window) {
        for (const auto* label : window.findChildren<QLabel*>())
            if (label->accessibleDescription() == QLatin1String("Entries"))
                return label->text();
        return {};
    }

    QTemporaryDir folder_;
    Preferences preferences_{folder_.filePath(QStringLiteral("preferences.sqlite")).toStdString()};
    WaveformCache cache_{preferences_};
    SettingsStore settings_{preferences_};
    DownloadSettingsStore downloads_{preferences_};
    SettingsScene scene_{{cache_, settings_, downloads_, MainQueue::shared()}};
};

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    TextLabel other(QStringLiteral("0"), Theme::TextStyle::body); // as the main window is
    other.show();
    QCoreApplication::processEvents();
    Bench bench;
    bench.fill();
    for (int i = 0; i < 5; ++i)
        bench.open();
    bench.count();
    bench.clear();
}
