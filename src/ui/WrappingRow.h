#pragma once

#include <vector>

#include <QWidget>

class QBoxLayout;

namespace ambrel {

/// Widgets side by side at their natural widths, or one below the other where the width or a large
/// font leaves no room for that.
class WrappingRow : public QWidget {
    Q_OBJECT

  public:
    /// `spacing` in points of the standard body font.
    WrappingRow(double spacing, std::initializer_list<QWidget*> widgets, QWidget* parent = nullptr);

    QSize minimumSizeHint() const override;

  protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void arrange();

    std::vector<QWidget*> widgets_;
    QBoxLayout* layout_;
};

} // namespace ambrel
