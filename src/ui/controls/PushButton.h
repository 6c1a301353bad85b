#pragma once

#include <QPushButton>

#include "ui/controls/Symbols.h"

namespace ambrel {

/// A bordered button of the desktop's style. It takes the focus by Tab alone, so that after a click
/// Space still plays. "&" in its text is shown as it is; a button that shows a symbol has its
/// accessible name as its tooltip too.
class PushButton : public QPushButton {
    Q_OBJECT

  public:
    enum class Prominence {
        plain,
        filled,   ///< with the accent colour
        large,    ///< taller and wider, for the few choices of an empty screen
        prominent ///< large and filled
    };

    explicit PushButton(const QString& text, Prominence prominence = Prominence::plain,
                        QWidget* parent = nullptr);
    PushButton(Symbol symbol, const QString& accessibleName, QWidget* parent = nullptr);

    /// Disabled, a button would pass the focus on to the next one, which Space then presses: it is
    /// given up instead.
    void setEnabledWithoutPassingFocus(bool enabled);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    PushButton(Prominence prominence, QWidget* parent);
    void applyTheme();
    void paintFilled();

    Prominence prominence_;
};

} // namespace ambrel
