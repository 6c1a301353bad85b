#pragma once

#include <QAbstractSlider>

namespace ambrel {

/// The gain of one band in dB, -12 to 12 from bottom to top on a grid of 0.5, with a thin line at
/// 0. Arrow keys move by 0.5, Page keys by 3, Home and End to the ends, a double-click sets 0; the
/// wheel acts while the slider has the focus. Screen readers are given value, range and step in dB.
class VerticalSlider : public QAbstractSlider {
    Q_OBJECT

  public:
    explicit VerticalSlider(const QString& accessibleName, QWidget* parent = nullptr);

    /// The gain that is shown, on the grid.
    double gain() const;

    /// Shows any gain at the nearest point of the grid, without telling that it was moved.
    void showGain(double gain);

    /// As the user would: tells so.
    void moveTo(double gain);

    /// On the grid, halves away from zero.
    static double snapped(double gain);

    QSize sizeHint() const override;

  Q_SIGNALS:
    /// The user moved the knob, perhaps to where it already was.
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

    bool isOnKnob_ = false; ///< the last press was, before it moved the knob
    double grabOffset_ = 0; ///< of the pointer from the knob's centre, while it is dragged
};

} // namespace ambrel
