#pragma once

#include <QWidget>

namespace ambrel {

/// A rounded rectangle in the panel colour that groups its contents.
class RoundedPanel : public QWidget {
    Q_OBJECT

  public:
    using QWidget::QWidget;

  protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace ambrel
