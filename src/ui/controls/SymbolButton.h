#pragma once

#include <QAbstractButton>

#include "ui/controls/Symbols.h"
#include "ui/controls/Theme.h"

namespace ambrel {

/// A borderless button that shows one symbol. Its name is its tooltip and what screen readers say.
/// It takes the focus by Tab alone and then shows a ring.
class SymbolButton : public QAbstractButton {
    Q_OBJECT

  public:
    /// Lengths in points of the standard body font: the button, and the symbol in its middle.
    SymbolButton(const QSizeF& size, double symbolSize, QWidget* parent = nullptr);

    void setSymbol(Symbol symbol, const QString& name);
    /// Of the symbol; primary at first.
    void setColour(Theme::TextColour colour);
    Symbol symbol() const { return symbol_; }

    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QSizeF size_;
    double symbolSize_;
    Symbol symbol_ = Symbol::play;
    Theme::TextColour colour_ = Theme::TextColour::primary;
};

} // namespace ambrel
