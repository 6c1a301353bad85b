#pragma once

#include <QPushButton>

#include "ui/look/Symbols.h"

namespace ambrel {

/// A button with a text or a symbol, in the desktop's style unless quiet or filled. It gets the
/// focus by Tab only, so that Space still plays after a click. "&" in its text is shown literally;
/// a button with a symbol shows its accessible name as tooltip.
class PushButton : public QPushButton {
    Q_OBJECT

  public:
    enum class Prominence {
        quiet, ///< borderless, with small text, for rarely used actions
        plain,
        filled,   ///< with the accent colour
        large,    ///< taller and wider, for the few choices of an empty screen
        prominent ///< large and filled
    };

    explicit PushButton(const QString& text, Prominence prominence = Prominence::plain,
                        QWidget* parent = nullptr);
    PushButton(Symbol symbol, const QString& accessibleName, QWidget* parent = nullptr);

    /// Gives up the focus when disabled. Qt would pass it to the next button, which Space would
    /// then press.
    void setEnabledWithoutPassingFocus(bool enabled);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    PushButton(Prominence prominence, QWidget* parent);
    void applyTheme();
    void paintQuiet();
    void paintFilled();

    Prominence prominence_;
};

} // namespace ambrel
