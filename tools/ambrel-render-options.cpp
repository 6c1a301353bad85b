#include "ambrel-render-options.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include <QCommandLineParser>

namespace ambrel {

namespace {

[[noreturn]] void refuse(const QString& sentence) {
    throw std::invalid_argument(sentence.toStdString());
}

double number(const QString& text, const QString& what, double least, double most) {
    bool isNumber = false;
    const double value = text.toDouble(&isNumber);
    if (!isNumber || !std::isfinite(value) || value < least || value > most)
        refuse(QStringLiteral("%1 must be a number from %2 to %3, not “%4”.")
                   .arg(what, QString::number(least), QString::number(most), text));
    return value;
}

double rateOf(const QString& text) {
    return number(text, QStringLiteral("The rate"), 0.05, 3);
}

double centsOf(const QString& text) {
    return number(text, QStringLiteral("The pitch"), -1200, 1200);
}

double secondsOf(const QString& text) {
    return number(text, QStringLiteral("A time"), 0, 1'000'000'000);
}

std::array<double, 5> gainsOf(const QString& text) {
    const QStringList parts = text.split(QLatin1Char(','));
    std::array<double, 5> gains{};
    if (parts.size() != qsizetype(gains.size()))
        refuse(QStringLiteral("The equaliser has five gains, not “%1”.").arg(text));
    for (std::size_t i = 0; i < gains.size(); ++i)
        gains[i] = number(parts[qsizetype(i)], QStringLiteral("A gain"), -40, 40);
    return gains;
}

/// T:rate=R or T:pitch=C
RenderChange changeOf(const QString& text) {
    const qsizetype colon = text.indexOf(QLatin1Char(':'));
    const qsizetype equals = text.indexOf(QLatin1Char('='));
    if (colon < 0 || equals < colon)
        refuse(QStringLiteral("“%1” is neither T:rate=R nor T:pitch=C.").arg(text));
    const QString name = text.mid(colon + 1, equals - colon - 1);
    const QString value = text.mid(equals + 1);
    const double at = secondsOf(text.left(colon));
    if (name == QStringLiteral("rate"))
        return {at, RenderChange::Parameter::rate, rateOf(value)};
    if (name == QStringLiteral("pitch"))
        return {at, RenderChange::Parameter::pitch, centsOf(value)};
    refuse(QStringLiteral("“%1” is neither T:rate=R nor T:pitch=C.").arg(text));
}

} // namespace

RenderOptions RenderOptions::parse(const QStringList& arguments) {
    const auto option = [](const char* name) {
        return QCommandLineOption(QString::fromLatin1(name), QString(), QStringLiteral("value"));
    };
    QCommandLineParser parser;
    for (const char* name : {"from", "to", "rate", "pitch", "eq", "passes", "device-rate", "set"})
        parser.addOption(option(name));
    if (!parser.parse(arguments))
        refuse(parser.errorText());
    const QStringList files = parser.positionalArguments();
    if (files.size() != 2)
        refuse(QStringLiteral("Usage: ambrel-render IN OUT.wav [--from S] [--to S] [--rate R] "
                              "[--pitch CENTS] [--eq G,G,G,G,G] [--passes N] [--device-rate HZ] "
                              "[--set T:rate=R] [--set T:pitch=C]"));
    RenderOptions options;
    options.inputPath = files[0];
    options.outputPath = files[1];
    const auto given = [&parser](const char* name) -> std::optional<QString> {
        const QString key = QString::fromLatin1(name);
        return parser.isSet(key) ? std::optional(parser.value(key)) : std::nullopt;
    };
    if (const auto text = given("from"))
        options.fromSeconds = secondsOf(*text);
    if (const auto text = given("to"))
        options.toSeconds = secondsOf(*text);
    if (const auto text = given("rate"))
        options.rate = rateOf(*text);
    if (const auto text = given("pitch"))
        options.cents = centsOf(*text);
    if (const auto text = given("eq"))
        options.gainsDb = gainsOf(*text);
    const auto whole = [](const QString& text, const QString& what, double least, double most) {
        const double value = number(text, what, least, most);
        if (value != std::floor(value))
            refuse(QStringLiteral("%1 must be a whole number, not “%2”.").arg(what, text));
        return static_cast<int>(value);
    };
    if (const auto text = given("passes"))
        options.passes = whole(*text, QStringLiteral("The number of passes"), 1, 1'000'000);
    if (const auto text = given("device-rate"))
        options.deviceRateHz = whole(*text, QStringLiteral("The device rate"), 8000, 192000);
    for (const QString& text : parser.values(QStringLiteral("set")))
        options.changes.push_back(changeOf(text));
    std::stable_sort(options.changes.begin(), options.changes.end(),
                     [](const auto& a, const auto& b) { return a.atSeconds < b.atSeconds; });
    return options;
}

} // namespace ambrel
