#include "ui/look/Theme.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <QApplication>
#include <QEvent>
#include <QFontDatabase>
#include <QLayout>
#include <QLineEdit>
#include <QPointer>
#include <QScreen>

namespace ambrel {

namespace {

/// Sizes of the text styles, in the order of TextStyle, relative to a body of 13.
constexpr std::array<double, 9> textStyleSizes = {26, 22, 17, 13, 13, 12, 11, 10, 10};
constexpr double bodySize = 13;

/// What desktops take for their own smallest texts, relative to the body: 9 of 11 points, 8 of 10.
constexpr double smallestRatio = 9.0 / 11;

/// Contrasts, 1 to 21 (WCAG 2). It asks for 4.5 and 3; but smoothing dilutes thin strokes.
constexpr double textContrast = 5.5;
constexpr double shapeContrast = 3.7;

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
    const double ratio =
        std::max(textStyleSizes.at(static_cast<std::size_t>(style)) / bodySize, smallestRatio);
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

/// Relative luminance, 0 to 1.
double luminance(const QColor& colour) {
    const auto linear = [](double value) {
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

double contrast(const QColor& one, const QColor& other) {
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

/// `colour`, moved towards `to` as far as that contrast with `background` takes.
QColor standingOut(const QColor& colour, const QColor& to, const QColor& background,
                   double leastContrast) {
    constexpr double step = 0.05;
    for (double share = 0; share < 1; share += step) {
        const QColor moved = blended(colour, to, share);
        if (contrast(moved, background) >= leastContrast)
            return moved;
    }
    return to;
}

QColor foreground(const QPalette& palette, Theme::TextColour colour, double leastContrast) {
    const QColor text = palette.color(QPalette::WindowText);
    const QColor background = Theme::panelBackground(palette);
    switch (colour) {
    case Theme::TextColour::primary:
        break;
    case Theme::TextColour::secondary:
        return standingOut(blended(background, text, 0.6), text, background, leastContrast);
    case Theme::TextColour::tertiary:
        return standingOut(blended(background, text, 0.35), text, background, leastContrast);
    case Theme::TextColour::accent: {
        const QColor accent = Theme::accent(palette);
        const QColor asLight =
            QColor::fromHslF(accent.hslHueF(), accent.hslSaturationF(), text.lightnessF());
        return standingOut(accent, asLight, background, leastContrast);
    }
    case Theme::TextColour::error: // a red that is read with ease on either background
        return text.lightnessF() > 0.5F ? QColor(0xFF, 0x8A, 0x80) : QColor(0xB7, 0x1C, 0x1C);
    }
    return text;
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

void Theme::showPlaceholder(QLineEdit* field, const QString& text) {
    field->setPlaceholderText(text);
    follow(field, [field] {
        QPalette palette = QApplication::palette();
        palette.setColor(QPalette::PlaceholderText, textColour(palette, TextColour::secondary));
        field->setPalette(palette);
    });
}

QColor Theme::textColour(const QPalette& palette, TextColour colour) {
    return foreground(palette, colour, textContrast);
}

QColor Theme::shapeColour(const QPalette& palette, TextColour colour) {
    return foreground(palette, colour, shapeContrast);
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

QColor Theme::accentFace(const QPalette& palette) {
    const QColor text = palette.color(QPalette::Active, QPalette::HighlightedText);
    return standingOut(accent(palette), text.lightnessF() > 0.5F ? Qt::black : Qt::white, text,
                       textContrast);
}

bool Theme::eventFilter(QObject* watched, QEvent* event) {
    const QEvent::Type type = event->type();
    if (watched == parent() &&
        (type == QEvent::ApplicationFontChange || type == QEvent::ApplicationPaletteChange))
        Q_EMIT changed();
    return QObject::eventFilter(watched, event);
}

} // namespace ambrel
