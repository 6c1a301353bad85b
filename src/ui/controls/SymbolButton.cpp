#include "ui/controls/SymbolButton.h"

#include <algorithm>

#include <QPainter>

#include "ui/controls/ButtonFace.h"
#include "ui/look/Theme.h"

namespace ambrel {

SymbolButton::SymbolButton(const QSizeF& size, double symbolSize, QWidget* parent)
    : QAbstractButton(parent), size_(size), symbolSize_(symbolSize) {
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    Theme::follow(this, &SymbolButton::updateGeometry);
}

void SymbolButton::setSymbol(Symbol symbol, const QString& name) {
    symbol_ = symbol;
    setAccessibleName(name);
    setToolTip(name);
    update();
}

void SymbolButton::setColour(Theme::TextColour colour) {
    colour_ = colour;
    update();
}

QSize SymbolButton::sizeHint() const {
    return {Theme::length(size_.width()), Theme::length(size_.height())};
}

void SymbolButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintButtonFace(painter, *this, std::min(Theme::length(8), height() / 4));
    const double size = Theme::length(symbolSize_);
    const QRectF box((width() - size) / 2, (height() - size) / 2, size, size);
    paintSymbol(painter, symbol_, box, Theme::shapeColour(palette(), colour_));
}

} // namespace ambrel
