#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

namespace tarvik::soak {

/// A straight line through samples over time by least squares, and how sure its slope is. Samples
/// of a process hang together: they should be far apart.
struct Trend
{
    double perHour = 0;
    double uncertainty = 0; ///< standard error of that

    /// At least three samples at equal distances of so many seconds.
    [[nodiscard]] static Trend of(const std::vector<double>& samples, double seconds)
    {
        const auto count = static_cast<double>(samples.size());
        const auto place = [&](std::size_t i) { return static_cast<double>(i) - (count - 1) / 2; };
        double mean = 0;
        double covariance = 0;
        double variance = 0;
        for (std::size_t i = 0; i < samples.size(); ++i) {
            mean += samples[i] / count;
            covariance += place(i) * samples[i];
            variance += place(i) * place(i);
        }
        const double slope = covariance / variance;
        double residual = 0;
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const double error = samples[i] - mean - slope * place(i);
            residual += error * error;
        }
        const double perHour = 3600 / seconds;
        return {.perHour = slope * perHour,
                .uncertainty = std::sqrt(residual / (count - 2) / variance) * perHour};
    }
};

} // namespace tarvik::soak
