#include <cmath>
#include <cstdlib>

#include "Targets.h"
#include "app/TimeText.h"
#include "app/TypedNumber.h"

namespace ambrel::fuzz {

void numbers(Bytes bytes) {
    const auto text =
        QString::fromUtf8(reinterpret_cast<const char*>(bytes.data()), qsizetype(bytes.size()));
    const QString trimmed = trimmedBlanks(text);
    promise(trimmedBlanks(trimmed) == trimmed, "trimmed is trimmed");
    for (const auto& value : {typedNumber(text), typedNumber(trimmed), typedChange(trimmed, 100)}) {
        if (!value)
            continue;
        const double kept = clampedNumber(*value, -1200, 1200);
        promise(kept >= -1200 && kept <= 1200, "a clamped number lies within its bounds");
        if (std::isfinite(*value)) {
            const double shown = std::strtod(oneDecimal(*value).toUtf8().constData(), nullptr);
            promise(std::abs(shown - *value) <= 0.05 + std::abs(*value) * 1e-15,
                    "one decimal is near the number");
        }
        promise(!wholePart(*value).isEmpty() && !timeText(*value).isEmpty(), "numbers have texts");
        const std::int64_t milliseconds = wholeMilliseconds(*value);
        promise(milliseconds >= 0, "no time is negative");
        if (milliseconds < std::int64_t{1} << 50)
            promise(wholeMilliseconds(secondsOf(milliseconds)) == milliseconds, "times survive");
    }
    if (const auto whole = typedWholeNumber(text))
        promise(typedWholeNumber(QString::number(*whole)) == whole, "whole numbers survive");
}

} // namespace ambrel::fuzz
