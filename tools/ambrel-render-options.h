#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include <QStringList>

namespace ambrel {

/// A change of a parameter while the render runs.
struct RenderChange {
    enum class Parameter { rate, pitch };

    double atSeconds = 0; ///< of output, after the start
    Parameter parameter = Parameter::rate;
    double value = 0;
};

/// What ambrel-render was asked for on its command line.
struct RenderOptions {
    QString inputPath;
    QString outputPath;
    std::optional<double> fromSeconds;
    std::optional<double> toSeconds;
    double rate = 1;
    double cents = 0;
    std::optional<std::array<double, 5>> gainsDb;
    int passes = 1;
    std::optional<int> deviceRateHz;
    std::vector<RenderChange> changes; ///< by time

    /// Throws std::invalid_argument with one sentence for the user.
    static RenderOptions parse(const QStringList& arguments);
};

} // namespace ambrel
