#pragma once

#include <vector>

#include <QWidget>

class QBoxLayout;

namespace ambrel {

/// Widgets side by side, or one below the other where the width or a large font leaves no room for
/// that. Those that expand share what the others leave of the width; without any, the rest is
/// empty.
class WrappingRow : public QWidget {
    Q_OBJECT

  public:
    /// `spacing` in points of the standard body font.
    WrappingRow(double spacing, std::initializer_list<QWidget*> widgets, QWidget* parent = nullptr);

    /// Side by side, whichever way they are now: rows lie in rows.
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
