#include "ui/look/Symbols.h"

#include <map>

#include <QApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>

/// A static library keeps its resources only if this is called. Outside every namespace, as
/// Q_INIT_RESOURCE requires.
static void initialiseResources() {
    Q_INIT_RESOURCE(symbols);
}

namespace ambrel {

namespace {

QString fileOf(Symbol symbol) {
    switch (symbol) {
    case Symbol::play:
        return QStringLiteral(":/symbols/play.svg");
    case Symbol::pause:
        return QStringLiteral(":/symbols/pause.svg");
    case Symbol::chevronLeft:
        return QStringLiteral(":/symbols/chevron-left.svg");
    case Symbol::chevronRight:
        return QStringLiteral(":/symbols/chevron-right.svg");
    case Symbol::waveform:
        return QStringLiteral(":/symbols/waveform.svg");
    case Symbol::musicNote:
        return QStringLiteral(":/symbols/music-note.svg");
    case Symbol::minus:
        return QStringLiteral(":/symbols/minus.svg");
    case Symbol::plus:
        return QStringLiteral(":/symbols/plus.svg");
    case Symbol::chevronUp:
        return QStringLiteral(":/symbols/chevron-up.svg");
    case Symbol::chevronDown:
        return QStringLiteral(":/symbols/chevron-down.svg");
    case Symbol::question:
        return QStringLiteral(":/symbols/question.svg");
    case Symbol::gearshape:
        return QStringLiteral(":/symbols/gearshape.svg");
    case Symbol::heart:
        return QStringLiteral(":/symbols/heart.svg");
    }
    return {};
}

/// The drawing in one colour, `size` device pixels large.
QPixmap rendered(Symbol symbol, const QSize& size, const QColor& colour) {
    const QString key = QStringLiteral("symbol/%1/%2x%3/%4")
                            .arg(int(symbol))
                            .arg(size.width())
                            .arg(size.height())
                            .arg(colour.name(QColor::HexArgb));
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap))
        return pixmap;
    initialiseResources();
    QSvgRenderer drawing(fileOf(symbol));
    drawing.setAspectRatioMode(Qt::KeepAspectRatio);
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    drawing.render(&painter, QRectF(QPointF(), size));
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), colour);
    painter.end();
    pixmap = QPixmap::fromImage(std::move(image));
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

class SymbolIconEngine : public QIconEngine {
  public:
    SymbolIconEngine(Symbol symbol, QPalette::ColorRole colour) : symbol_(symbol), role_(colour) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
        paintSymbol(*painter, symbol_, rect, colour(mode));
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State) override {
        return rendered(symbol_, size, colour(mode));
    }

    QIconEngine* clone() const override { return new SymbolIconEngine(symbol_, role_); }

  private:
    QColor colour(QIcon::Mode mode) const {
        const auto group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
        return QApplication::palette().color(group, role_);
    }

    Symbol symbol_;
    QPalette::ColorRole role_;
};

} // namespace

void paintSymbol(QPainter& painter, Symbol symbol, const QRectF& box, const QColor& colour) {
    const double ratio = painter.device()->devicePixelRatioF();
    QPixmap pixmap = rendered(symbol, (box.size() * ratio).toSize(), colour);
    pixmap.setDevicePixelRatio(ratio);
    painter.drawPixmap(box.topLeft(), pixmap);
}

QIcon symbolIcon(Symbol symbol, QPalette::ColorRole colour) {
    return QIcon(new SymbolIconEngine(symbol, colour));
}

QIcon applicationIcon() {
    initialiseResources();
    return QIcon(QStringLiteral(":/icons/ambrel.svg"));
}

} // namespace ambrel
