#pragma once

#include <QScrollArea>

namespace ambrel {

/// A scroll area as high as its form, which may grow and shrink, and of a given width. If the
/// screen is too low, it scrolls to keep the focus visible.
class FormScroller : public QScrollArea {
    Q_OBJECT

  public:
    /// Takes ownership of the form.
    explicit FormScroller(QWidget* form, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void showOnceLaidOut(QWidget* focused);
};

} // namespace ambrel
