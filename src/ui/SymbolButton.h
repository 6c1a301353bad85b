#pragma once

#include <QAbstractButton>

#include "ui/Symbols.h"

namespace ambrel {

/// A borderless button that shows one symbol. Its name is its tooltip and what screen readers say.
/// It takes the focus by Tab alone and then shows a ring.
class SymbolButton : public QAbstractButton {
    Q_OBJECT

  public:
    /// Lengths in points of the standard body font: the square button, and the symbol in its
    /// middle.
    SymbolButton(double edge, double symbolSize, QWidget* parent = nullptr);

    void setSymbol(Symbol symbol, const QString& name);
    Symbol symbol() const { return symbol_; }

    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    double edge_;
    double symbolSize_;
    Symbol symbol_ = Symbol::play;
};

} // namespace ambrel
