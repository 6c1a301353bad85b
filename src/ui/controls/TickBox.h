#pragma once

#include <QCheckBox>
#include <QRadioButton>
#include <QStyleOptionButton>

namespace ambrel {

/// Paints a check box or a radio button: as large as the desktop's, with a box that is seen. Styles
/// draw the outline of an empty one so faintly that it is lost on a dark palette.
void paintTickBox(QAbstractButton& button, const QStyleOptionButton& option);

/// A QCheckBox or QRadioButton so painted. A click anywhere on it counts.
template <typename Button> class TickBox : public Button {
  public:
    using Button::Button;

    /// Leaves room for the focus ring: beside a text there is enough above and below.
    QSize sizeHint() const override {
        const int below = this->text().isEmpty() ? kRing : 0;
        return Button::sizeHint() + QSize(kRing, below);
    }

  protected:
    bool hitButton(const QPoint& place) const override { return this->rect().contains(place); }

    void paintEvent(QPaintEvent*) override {
        QStyleOptionButton option;
        this->initStyleOption(&option);
        option.rect.adjust(kRing / 2, 0, -kRing / 2, 0);
        paintTickBox(*this, option);
    }

  private:
    static constexpr int kRing = 6; // of both sides
};

} // namespace ambrel
