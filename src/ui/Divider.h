#pragma once

#include <QWidget>

namespace ambrel {

/// A hairline between two areas.
class Divider : public QWidget {
    Q_OBJECT

  public:
    explicit Divider(Qt::Orientation orientation = Qt::Horizontal, QWidget* parent = nullptr);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    Qt::Orientation orientation_;
};

} // namespace ambrel
