#include "stress/soak/Trend.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tarvik::soak {

Trend Trend::of(const std::vector<double>& samples, double seconds)
{
    constexpr std::size_t SECTIONS = 20;
    const std::size_t length = samples.size() / SECTIONS;
    if (length == 0) {
        return {.perHour = 0, .uncertainty = std::numeric_limits<double>::infinity()};
    }
    std::vector<double> means;
    for (std::size_t i = 0; i < SECTIONS; ++i) {
        double sum = 0;
        for (std::size_t k = 0; k < length; ++k) {
            sum += samples[i * length + k];
        }
        means.push_back(sum / static_cast<double>(length));
    }
    // Least squares over section numbers around their middle.
    constexpr double MIDDLE = (SECTIONS - 1) / 2.0;
    double mean = 0;
    double covariance = 0;
    double variance = 0;
    for (std::size_t i = 0; i < SECTIONS; ++i) {
        const double x = static_cast<double>(i) - MIDDLE;
        mean += means[i] / SECTIONS;
        covariance += x * means[i];
        variance += x * x;
    }
    const double slope = covariance / variance;
    double residual = 0;
    for (std::size_t i = 0; i < SECTIONS; ++i) {
        const double error = means[i] - mean - slope * (static_cast<double>(i) - MIDDLE);
        residual += error * error;
    }
    const double sectionsPerHour = 3600 / (static_cast<double>(length) * seconds);
    return {.perHour = slope * sectionsPerHour,
            .uncertainty = std::sqrt(residual / (SECTIONS - 2) / variance) * sectionsPerHour};
}

} // namespace tarvik::soak
