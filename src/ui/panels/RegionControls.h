#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include <QWidget>

#include "app/AppState.h"

namespace ambrel {

class AudioEngine;
class TimePickerField;

/// The region's start and end as minutes, seconds and milliseconds. A committed time is kept in the
/// file, start before end, and starts the region anew while it plays.
class RegionControls : public QWidget {
    Q_OBJECT

  public:
    RegionControls(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine,
                   QWidget* parent = nullptr);

  private:
    /// A time as its three fields hold it.
    struct Time {
        std::int64_t minutes = 0;
        std::int64_t seconds = 0;
        std::int64_t milliseconds = 0;
        std::array<TimePickerField*, 3> fields = {};

        double changed(double time) const; ///< what the fields make of it
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
