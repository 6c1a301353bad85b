#include "ui/RecentFileRow.h"

#include <QPainter>

#include "app/PlainText.h"
#include "app/RecentFile.h"
#include "ui/ButtonFace.h"
#include "ui/Symbols.h"
#include "ui/Theme.h"

namespace ambrel {

RecentFileRow::RecentFileRow(const QUrl& file, QWidget* parent) : QAbstractButton(parent) {
    setText(recentFileTitle(file));
    setAccessibleName(file.fileName());
    setAccessibleDescription(recentFileFolder(file));
    setToolTip(plainToolTip(recentFileFolder(file)));
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(&Theme::shared(), &Theme::changed, this, &RecentFileRow::updateGeometry);
}

QSize RecentFileRow::sizeHint() const {
    const QFontMetrics metrics(Theme::font(Theme::TextStyle::body));
    return {Theme::length(280), metrics.height() + Theme::length(8)};
}

QSize RecentFileRow::minimumSizeHint() const {
    return {Theme::length(60), sizeHint().height()};
}

void RecentFileRow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintButtonFace(painter, *this, Theme::length(4));

    const int margin = Theme::length(8);
    const int edge = Theme::length(13);
    paintSymbol(painter, Symbol::musicNote, QRectF(margin, (height() - edge) / 2.0, edge, edge),
                Theme::textColour(palette(), Theme::TextColour::secondary));
    const int left = margin + edge + margin;
    const QRect place(left, 0, width() - left - margin, height());
    painter.setFont(Theme::font(Theme::TextStyle::body));
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(place, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                     painter.fontMetrics().elidedText(text(), Qt::ElideMiddle, place.width()));
}

} // namespace ambrel
