#pragma once

#include <cstddef>
#include <vector>

namespace tarvik::soak {

/// A straight line through samples over time, and how sure its slope is.
struct Trend
{
    double perHour = 0;
    /// Standard error of that. Samples of a process hang together, so it is not taken from them but
    /// from the means of 20 sections in a row.
    double uncertainty = 0;

    /// Samples at equal distances of so many seconds.
    [[nodiscard]] static Trend of(const std::vector<double>& samples, double seconds);
};

} // namespace tarvik::soak
