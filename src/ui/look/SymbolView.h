#pragma once

#include <QWidget>

#include "ui/look/Symbols.h"
#include "ui/look/Theme.h"

namespace ambrel {

/// A decorative symbol in one of the text colours, hidden from screen readers.
class SymbolView : public QWidget {
    Q_OBJECT

  public:
    /// `size` in points of the standard body font.
    SymbolView(Symbol symbol, double size, Theme::TextColour colour, QWidget* parent = nullptr);

    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    Symbol symbol_;
    double size_;
    Theme::TextColour colour_;
};

} // namespace ambrel
