#pragma once

#include "ui/look/TextLabel.h"

namespace ambrel {

/// A gain in dB, rounded as the sliders; in the accent colour unless it is 0. A double-click
/// requests 0.
class GainLabel : public TextLabel {
    Q_OBJECT

  public:
    explicit GainLabel(QWidget* parent = nullptr);

    void showGain(double gain);

  Q_SIGNALS:
    void zeroRequested();

  protected:
    void mouseDoubleClickEvent(QMouseEvent* event) override;
};

} // namespace ambrel
