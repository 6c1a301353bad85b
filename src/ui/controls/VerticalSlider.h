#pragma once

#include <QAbstractSlider>

namespace ambrel {

/// The gain of a band in dB, -12 to 12 from bottom to top in steps of 0.5, with a thin line at 0.
/// Arrow keys step by 0.5, Page keys by 3, Home and End go to the ends, a double-click sets 0; the
/// wheel works while the slider has the focus. Screen readers get value, range and step in dB.
class VerticalSlider : public QAbstractSlider {
    Q_OBJECT

  public:
    explicit VerticalSlider(const QString& accessibleName, QWidget* parent = nullptr);

    /// The gain shown, rounded to a step.
    double gain() const;

    /// Shows a gain, rounded to a step, without emitting moved().
    void showGain(double gain);

    /// Moves as the user would, and emits moved().
    void moveTo(double gain);

    /// Rounded to a step, halves away from zero.
    static double snapped(double gain);

    QSize sizeHint() const override;

  Q_SIGNALS:
    /// The user moved the knob, possibly to the same position.
    void moved(double gain);

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

  private:
    double knobHeight() const;
    double centreOf(double gain) const;
    double gainAt(double y) const;

    bool isOnKnob_ = false; ///< the last press hit the knob, before any move
    double grabOffset_ = 0; ///< from the knob's centre to the pointer during a drag
};

} // namespace ambrel
