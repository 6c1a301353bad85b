#pragma once

#include <memory>

#include <QWidget>

#include "app/ZoomNavigation.h"

namespace ambrel {

class AppState;
class AudioEngine;

/// The upper part of the working screen: the waveform on a rounded background, and the zoom bar.
class WaveformSection : public QWidget {
    Q_OBJECT

  public:
    WaveformSection(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine,
                    QWidget* parent = nullptr);

  private:
    ZoomNavigation navigation_;
};

} // namespace ambrel
