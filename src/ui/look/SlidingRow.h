#pragma once

#include <QPointer>
#include <QVariantAnimation>
#include <QWidget>

namespace ambrel {

/// Shows and hides a row with an animation, or at once if the desktop has animations off. Nothing
/// in it has the focus while it is being hidden or is hidden.
class SlidingRow : public QWidget {
    Q_OBJECT

  public:
    /// Takes ownership of the row, which is hidden at first.
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
    double share_ = 0; ///< visible fraction of the row's height, 0 to 1
    bool isShown_ = false;
};

} // namespace ambrel
