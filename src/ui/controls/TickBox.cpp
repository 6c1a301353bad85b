#include "ui/controls/TickBox.h"

#include <algorithm>

#include <QPainter>
#include <QStyle>

#include "ui/controls/ButtonFace.h"
#include "ui/look/Theme.h"

namespace ambrel {

void paintTickBox(QAbstractButton& button, const QStyleOptionButton& option) {
    const bool isRound = qobject_cast<QRadioButton*>(&button);
    const QStyle& style = *button.style();
    QPainter painter(&button);
    paintButtonFace(painter, button, Theme::length(4));
    QStyleOptionButton label = option;
    label.rect = style.subElementRect(
        isRound ? QStyle::SE_RadioButtonContents : QStyle::SE_CheckBoxContents, &option, &button);
    style.drawControl(isRound ? QStyle::CE_RadioButtonLabel : QStyle::CE_CheckBoxLabel, &label,
                      &painter, &button);

    const QRectF place = style.subElementRect(
        isRound ? QStyle::SE_RadioButtonIndicator : QStyle::SE_CheckBoxIndicator, &option, &button);
    const double edge = std::min(place.width(), place.height()) - 1;
    QRectF box(0, 0, edge, edge);
    box.moveCenter(place.center());
    const QPalette& palette = button.palette();
    const bool isOn = button.isChecked();
    painter.setPen(Theme::shapeColour(palette, Theme::TextColour::tertiary));
    painter.setBrush(isOn ? Theme::accentFace(palette) : palette.color(QPalette::Base));
    const double radius = isRound ? edge / 2 : edge / 5;
    painter.drawRoundedRect(box, radius, radius);
    if (!isOn)
        return;
    const QColor mark = palette.color(QPalette::Active, QPalette::HighlightedText);
    if (isRound) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(mark);
        painter.drawEllipse(box.center(), edge / 5, edge / 5);
    } else {
        painter.setPen(QPen(mark, edge / 7, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.setBrush(Qt::NoBrush);
        const auto at = [&](double x, double y) { return box.topLeft() + QPointF(x, y) * edge; };
        painter.drawPolyline(QPolygonF{at(0.24, 0.52), at(0.42, 0.70), at(0.76, 0.32)});
    }
}

} // namespace ambrel
