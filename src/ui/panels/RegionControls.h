#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include <QWidget>

#include "app/AppState.h"

namespace ambrel {

class AudioEngine;
class TimePickerField;

/// The region's start and end in minutes, seconds and milliseconds. A committed time is limited to
/// the file and keeps start before end; while playing, playback restarts with the new region.
class RegionControls : public QWidget {
    Q_OBJECT

  public:
    RegionControls(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine,
                   QWidget* parent = nullptr);

  private:
    /// The three fields of a time.
    struct Time {
        std::int64_t minutes = 0;
        std::int64_t seconds = 0;
        std::int64_t milliseconds = 0;
        std::array<TimePickerField*, 3> fields = {};

        double changed(double time) const; ///< `time` as changed by the fields
        void show(double seconds);
    };

    QWidget* makeGroup(const QString& name, Time& time, void (RegionControls::*apply)());
    void applyStart();
    void applyEnd();
    void regionCommitted();
    void syncFromState();

    std::shared_ptr<AppState> state_;
    std::shared_ptr<AudioEngine> engine_;
    Time start_;
    Time end_;
};

} // namespace ambrel
