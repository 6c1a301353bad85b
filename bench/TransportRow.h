#pragma once

#include <cstdio>
#include <string>

namespace ambrel::bench {

/// What a figure is held against.
struct Wanted {
    enum class Side { atMost, atLeast };
    Side side;
    double figure;
};

inline Wanted atMost(double figure) {
    return {Wanted::Side::atMost, figure};
}

inline Wanted atLeast(double figure) {
    return {Wanted::Side::atLeast, figure};
}

/// Prints a row for the table that bench/transport makes: fields between tabs, read by that script
/// alone.
inline void printRow(const std::string& promise, Wanted wanted, double got, const char* unit) {
    std::printf("row\t%s\t%s\t%.6g\t%.6g\t%s\n", promise.c_str(),
                wanted.side == Wanted::Side::atMost ? "<=" : ">=", wanted.figure, got, unit);
    std::fflush(stdout);
}

} // namespace ambrel::bench
