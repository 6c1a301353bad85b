#pragma once

#include <QWidget>

namespace ambrel {

/// A horizontal hairline between two areas.
class Divider : public QWidget {
    Q_OBJECT

  public:
    explicit Divider(QWidget* parent = nullptr);

  protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace ambrel
