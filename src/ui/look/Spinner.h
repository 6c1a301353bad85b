#pragma once

#include <QBasicTimer>
#include <QWidget>

namespace ambrel {

/// An activity indicator for work of unknown length. Uses no timer while hidden.
class Spinner : public QWidget {
    Q_OBJECT

  public:
    /// `diameter` in points of the standard body font.
    explicit Spinner(double diameter, QWidget* parent = nullptr);

    bool isTurning() const { return timer_.isActive(); }

    QSize sizeHint() const override;

  protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    double diameter_;
    int step_ = 0;
    QBasicTimer timer_;
};

} // namespace ambrel
