#pragma once

#include <QWidget>

namespace ambrel {

/// A hairline between two areas.
class Divider : public QWidget {
    Q_OBJECT

  public:
    explicit Divider(Qt::Orientation orientation = Qt::Horizontal, QWidget* parent = nullptr);

    /// Of a hairline on that widget. A point can be one or two pixels at a scale between, by where
    /// it lies: the line is as many pixels as a point has whole ones, wherever it is.
    static double thickness(const QWidget& widget);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    Qt::Orientation orientation_;
};

} // namespace ambrel
