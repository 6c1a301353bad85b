#pragma once

#include <QPointer>
#include <QWidget>

#include "app/CacheMaintenance.h"

namespace ambrel {

class ClearConfirmation;
class DownloadSettingsStore;
class TextLabel;
class WaveformCache;

/// The content of the settings window: the download folder, the size of the waveform cache, and its
/// limits. Settings are shown as they are at creation; the size appears once measured, and is
/// measured again after a clear and whenever the window becomes active. Main thread only.
class CacheSettingsView : public QWidget {
    Q_OBJECT

  public:
    /// What the view uses; all of it must outlive the view.
    struct Services {
        WaveformCache& cache;
        CacheMaintenance& maintenance;
        DownloadSettingsStore& downloads;
    };

    explicit CacheSettingsView(const Services& services, QWidget* parent = nullptr);

  protected:
    bool event(QEvent* event) override;

  private:
    QWidget* makeForm();
    QWidget* makeDownloads();
    QWidget* makeCache();

    void showStats(const CacheMaintenance::Stats& stats);
    void showClearConfirm();

    WaveformCache& cache_;
    CacheMaintenance& maintenance_;
    DownloadSettingsStore& downloads_;
    TextLabel* entryCount_ = nullptr;
    TextLabel* totalMB_ = nullptr;
    QPointer<ClearConfirmation> clearConfirm_;
};

} // namespace ambrel
