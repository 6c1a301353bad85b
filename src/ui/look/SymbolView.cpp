#include "ui/look/SymbolView.h"

#include <QPainter>

namespace ambrel {

SymbolView::SymbolView(Symbol symbol, double size, Theme::TextColour colour, QWidget* parent)
    : QWidget(parent), symbol_(symbol), size_(size), colour_(colour) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    Theme::follow(this, &SymbolView::updateGeometry);
}

QSize SymbolView::sizeHint() const {
    const int edge = Theme::length(size_);
    return {edge, edge};
}

void SymbolView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintSymbol(painter, symbol_, rect(), Theme::shapeColour(palette(), colour_));
}

} // namespace ambrel
