#pragma once

#include "ocamera/OCamera.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace OCamera::simulated {

/// The camera's FPGA as it has been set up: Bayer converter, then filter.
///
/// The setters are the operations of CameraInterface and return what those do.
class FpgaStage
{
public:
    [[nodiscard]] int initColor();
    [[nodiscard]] int setBayer(eBayerOutput output, eBayerPattern pattern);
    [[nodiscard]] int setFilter(eFilter filter, const NeighbourhoodParameters* parameters);
    [[nodiscard]] int setBinarization(bool on, const BinarizationParameters* parameters);

    /// Pictures from the sensor are mosaics.
    [[nodiscard]] bool colourSensor() const { return _colourSensor; }

    /// Converts in place; leaves pictures of a grey sensor as they are.
    void convert(std::span<std::uint8_t> picture, int width, int height);
    /// Filters in place.
    void filter(std::span<std::uint8_t> picture, int width, int height);

private:
    [[nodiscard]] std::span<const std::uint8_t> copied(std::span<const std::uint8_t> picture);

    bool _colourSensor = false;
    eBayerOutput _output = BAYER_OUTPUT_RAW;
    eBayerPattern _pattern = BAYER_PATTERN_GRGR;
    eFilter _filter = FILTER_OFF;
    NeighbourhoodParameters _neighbourhood{};
    std::optional<BinarizationParameters> _binarization;
    std::vector<std::uint8_t> _scratch; ///< input of what looks at more than one pixel
};

} // namespace OCamera::simulated
