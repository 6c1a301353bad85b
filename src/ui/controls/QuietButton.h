#pragma once

#include <QAbstractButton>

namespace ambrel {

/// A borderless button of small print in the secondary colour, for what is seldom wanted. It takes
/// the focus by Tab alone and then shows a ring.
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
