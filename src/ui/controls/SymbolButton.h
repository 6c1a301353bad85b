#pragma once

#include <QAbstractButton>

#include "ui/look/Symbols.h"
#include "ui/look/Theme.h"

namespace ambrel {

/// A borderless button with one symbol. Its name is its tooltip and accessible name. It gets the
/// focus by Tab only, and then shows a ring.
class SymbolButton : public QAbstractButton {
    Q_OBJECT

  public:
    /// Sizes of the button and of the centred symbol, in points of the standard body font.
    SymbolButton(const QSizeF& size, double symbolSize, QWidget* parent = nullptr);

    void setSymbol(Symbol symbol, const QString& name);
    /// Colour of the symbol; primary at first.
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
