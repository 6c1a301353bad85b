#include "app/TypedNumber.h"

#include <array>
#include <cctype>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <locale.h>

namespace ambrel {
namespace {

bool isBlank(QChar character) {
    return character == QLatin1Char('\t') || character.category() == QChar::Separator_Space;
}

locale_t neutralLocale() {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
}

} // namespace

std::optional<double> typedNumber(const QString& text) {
    const QByteArray bytes = text.toUtf8();
    // Rejects what strtod also accepts: leading blanks, hexadecimal, nan(...).
    if (bytes.isEmpty() || std::isspace(static_cast<unsigned char>(bytes[0])) ||
        bytes.contains('x') || bytes.contains('X') || bytes.contains('('))
        return {};
    char* end = nullptr;
    const double number = strtod_l(bytes.constData(), &end, neutralLocale());
    if (end != bytes.constData() + bytes.size())
        return {};
    return number;
}

std::optional<double> typedChange(const QString& text, double anchor) {
    if (!text.startsWith(QLatin1Char('+')) && !text.startsWith(QLatin1Char('-')))
        return {};
    const auto number = typedNumber(text.mid(1));
    if (!number)
        return {};
    return text.startsWith(QLatin1Char('+')) ? anchor + *number : anchor - *number;
}

std::optional<std::int64_t> typedWholeNumber(const QString& text) {
    const QByteArray bytes = text.toUtf8();
    const char* first = bytes.constData();
    const char* const last = first + bytes.size();
    if (first != last && *first == '+' && bytes.size() > 1 && first[1] != '-')
        ++first;
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(first, last, number);
    if (error != std::errc() || end != last)
        return {};
    return number;
}

QString trimmedBlanks(const QString& text) {
    qsizetype first = 0;
    qsizetype last = text.size();
    while (first < last && isBlank(text[first]))
        ++first;
    while (last > first && isBlank(text[last - 1]))
        --last;
    return text.mid(first, last - first);
}

double clampedNumber(double value, double lowest, double highest) {
    const double bounded = value < highest ? value : highest;
    return bounded > lowest ? bounded : lowest;
}

QString wholePart(double value) {
    // Numbers between -1 and 0 must not give "-0".
    return QString::number(std::trunc(value) + 0.0, 'f', 0);
}

QString oneDecimal(double value) {
    std::array<char, std::numeric_limits<double>::max_exponent10 + 8> text;
    const auto end = std::to_chars(text.begin(), text.end(), value, std::chars_format::fixed, 1);
    return QString::fromLatin1(text.data(), end.ptr - text.data());
}

QString counted(double number, const char* unit) {
    const QString plural = std::abs(number) == 1 ? QString() : QStringLiteral("s");
    return QString::number(number) + QLatin1Char(' ') + QLatin1String(unit) + plural;
}

} // namespace ambrel
