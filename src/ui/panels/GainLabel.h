#pragma once

#include "ui/controls/TextLabel.h"

namespace ambrel {

/// A gain in dB on the sliders' grid; in the accent colour while it is not 0. A double-click asks
/// for 0.
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
