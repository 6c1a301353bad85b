#include "ui/look/Theme.h"

#include <array>

#include <QApplication>
#include <QEvent>
#include <QFontDatabase>
#include <QLayout>
#include <QPointer>
#include <QScreen>

namespace ambrel {

namespace {

/// Sizes of the text styles, in the order of TextStyle, relative to a body of 13.
constexpr std::array<double, 9> textStyleSizes = {26, 22, 17, 13, 13, 12, 11, 10, 10};
constexpr double bodySize = 13;

/// 10 points at 96 dots per inch, in device-independent pixels.
constexpr double standardBodyPixels = 10.0 * 96 / 72;

double bodyPixels() {
    const QFont body = QApplication::font();
    if (body.pixelSize() > 0)
        return body.pixelSize();
    const QScreen* screen = QGuiApplication::primaryScreen();
    return body.pointSizeF() * (screen ? screen->logicalDotsPerInchY() : 96) / 72;
}

QFont resized(QFont font, Theme::TextStyle style) {
    const double ratio = textStyleSizes.at(static_cast<std::size_t>(style)) / bodySize;
    const QFont body = QApplication::font();
    if (body.pixelSize() > 0)
        font.setPixelSize(qRound(body.pixelSize() * ratio));
    else
        font.setPointSizeF(body.pointSizeF() * ratio);
    if (style == Theme::TextStyle::headline)
        font.setBold(true);
    return font;
}

QColor blended(const QColor& from, const QColor& to, double share) {
    const auto mix = [share](double a, double b) {
        return static_cast<float>(a + (b - a) * share);
    };
    return QColor::fromRgbF(mix(from.redF(), to.redF()), mix(from.greenF(), to.greenF()),
                            mix(from.blueF(), to.blueF()));
}

} // namespace

Theme& Theme::shared() {
    static QPointer<Theme> theme;
    if (!theme)
        theme = new Theme(qApp);
    return *theme;
}

Theme::Theme(QObject* application) : QObject(application) {
    application->installEventFilter(this);
}

QFont Theme::font(TextStyle style) {
    return resized(QApplication::font(), style);
}

QFont Theme::monospacedFont(TextStyle style) {
    return resized(QFontDatabase::systemFont(QFontDatabase::FixedFont), style);
}

int Theme::length(double points) {
    return qRound(points * std::max(1.0, bodyPixels() / standardBodyPixels));
}

QSize Theme::windowSize(QSize points, const QScreen* screen) {
    const QSize size(length(points.width()), length(points.height()));
    return screen ? size.boundedTo(screen->availableSize()) : size;
}

QRect Theme::movedInto(const QRect& room, QRect place) {
    place.setSize(place.size().boundedTo(room.size()));
    place.moveRight(std::min(place.right(), room.right()));
    place.moveBottom(std::min(place.bottom(), room.bottom()));
    place.moveLeft(std::max(place.left(), room.left()));
    place.moveTop(std::max(place.top(), room.top()));
    return place;
}

void Theme::space(QLayout* layout, double spacing, const QMarginsF& margins) {
    follow(layout, [layout, spacing, margins] {
        layout->setSpacing(length(spacing));
        layout->setContentsMargins(length(margins.left()), length(margins.top()),
                                   length(margins.right()), length(margins.bottom()));
    });
}

QColor Theme::textColour(const QPalette& palette, TextColour colour) {
    if (colour == TextColour::accent)
        return accent(palette);
    QColor text = palette.color(QPalette::WindowText);
    if (colour == TextColour::error) // a red that is read with ease on either background
        return text.lightnessF() > 0.5F ? QColor(0xFF, 0x8A, 0x80) : QColor(0xB7, 0x1C, 0x1C);
    if (colour == TextColour::secondary)
        text.setAlphaF(text.alphaF() * 0.6F);
    else if (colour == TextColour::tertiary)
        text.setAlphaF(text.alphaF() * 0.35F);
    return text;
}

QColor Theme::panelBackground(const QPalette& palette) {
    return blended(palette.color(QPalette::Window), palette.color(QPalette::WindowText), 0.04);
}

QColor Theme::divider(const QPalette& palette) {
    return blended(palette.color(QPalette::Window), palette.color(QPalette::WindowText), 0.16);
}

QColor Theme::accent(const QPalette& palette) {
    return palette.color(QPalette::Active, QPalette::Highlight);
}

bool Theme::eventFilter(QObject* watched, QEvent* event) {
    const QEvent::Type type = event->type();
    if (watched == parent() &&
        (type == QEvent::ApplicationFontChange || type == QEvent::ApplicationPaletteChange))
        Q_EMIT changed();
    return QObject::eventFilter(watched, event);
}

} // namespace ambrel
