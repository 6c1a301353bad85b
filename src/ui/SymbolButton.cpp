#include "ui/SymbolButton.h"

#include <QPainter>

#include "ui/ButtonFace.h"
#include "ui/Theme.h"

namespace ambrel {

SymbolButton::SymbolButton(double edge, double symbolSize, QWidget* parent)
    : QAbstractButton(parent), edge_(edge), symbolSize_(symbolSize) {
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(&Theme::shared(), &Theme::changed, this, &SymbolButton::updateGeometry);
}

void SymbolButton::setSymbol(Symbol symbol, const QString& name) {
    symbol_ = symbol;
    setAccessibleName(name);
    setToolTip(name);
    update();
}

QSize SymbolButton::sizeHint() const {
    const int edge = Theme::length(edge_);
    return {edge, edge};
}

void SymbolButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintButtonFace(painter, *this, Theme::length(8));
    const double size = Theme::length(symbolSize_);
    const QRectF box((width() - size) / 2, (height() - size) / 2, size, size);
    paintSymbol(painter, symbol_, box, palette().color(QPalette::WindowText));
}

} // namespace ambrel
