#pragma once

#include <QScrollArea>

namespace ambrel {

/// As high as the form in it, which grows and shrinks, and as wide as it is told; where the screen
/// is too low for that the form scrolls, to what has the focus.
class FormScroller : public QScrollArea {
    Q_OBJECT

  public:
    /// Takes the form.
    explicit FormScroller(QWidget* form, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void showOnceLaidOut(QWidget* focused);
};

} // namespace ambrel
