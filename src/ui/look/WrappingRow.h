#pragma once

#include <vector>

#include <QWidget>

class QBoxLayout;

namespace ambrel {

/// Widgets side by side, or in a column if the width or a large font leaves no room. Expanding
/// widgets share the remaining width; without any it stays empty.
class WrappingRow : public QWidget {
    Q_OBJECT

  public:
    /// `spacing` in points of the standard body font.
    WrappingRow(double spacing, std::initializer_list<QWidget*> widgets, QWidget* parent = nullptr);

    /// The size side by side, even while in a column, so that nested rows work.
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void arrange();
    int widthSideBySide() const;

    std::vector<QWidget*> widgets_;
    QBoxLayout* layout_;
};

} // namespace ambrel
