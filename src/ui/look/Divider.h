#pragma once

#include <QWidget>

namespace ambrel {

/// A hairline between two areas.
class Divider : public QWidget {
    Q_OBJECT

  public:
    explicit Divider(Qt::Orientation orientation = Qt::Horizontal, QWidget* parent = nullptr);

    /// Thickness of a hairline on that widget. At fractional scales a point may be one or two
    /// pixels depending on its position; the line always has as many pixels as a point has whole
    /// ones.
    static double thickness(const QWidget& widget);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    Qt::Orientation orientation_;
};

} // namespace ambrel
