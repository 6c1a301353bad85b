#pragma once

#include <QAbstractButton>

namespace ambrel {

/// A borderless button with small text in the secondary colour, for rarely used actions. It gets
/// the focus by Tab only, and then shows a ring.
class QuietButton : public QAbstractButton {
    Q_OBJECT

  public:
    explicit QuietButton(const QString& text, QWidget* parent = nullptr);

    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    void applyTheme();
};

} // namespace ambrel
