#pragma once

#include <QPointer>
#include <QVariantAnimation>
#include <QWidget>

namespace ambrel {

/// Shows and hides a row smoothly, or at once where the desktop has animations off. While it goes,
/// and once it is gone, nothing in it has the focus.
class SlidingRow : public QWidget {
    Q_OBJECT

  public:
    /// Takes the row; hidden at first.
    explicit SlidingRow(QWidget* row, QWidget* parent = nullptr);

    void setShown(bool shown);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    int shownHeight() const;

    QWidget* row_;
    QVariantAnimation animation_;
    double share_ = 0; ///< of the row's height that is seen, 0 to 1
    bool isShown_ = false;
};

} // namespace ambrel
