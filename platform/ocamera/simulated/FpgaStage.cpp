#include "ocamera/simulated/FpgaStage.h"

#include "ocamera/simulated/Faults.h"
#include "ocamera/simulated/Fpga.h"

#include <cerrno>

namespace OCamera::simulated {

namespace {

constexpr std::uint32_t NEIGHBOURHOOD_MODE = 2;

} // namespace

int FpgaStage::initColor()
{
    _colourSensor = true;
    _output = BAYER_OUTPUT_RAW;
    _pattern = BAYER_PATTERN_GRGR;
    return 0;
}

int FpgaStage::setBayer(eBayerOutput output, eBayerPattern pattern)
{
    if (!_colourSensor) {
        return -ENXIO;
    }
    if (output < BAYER_OUTPUT_RAW || output > BAYER_OUTPUT_I || pattern < BAYER_PATTERN_GRGR ||
        pattern > BAYER_PATTERN_GBGB) {
        return -EINVAL;
    }
    _output = output;
    _pattern = pattern;
    return 0;
}

int FpgaStage::setFilter(eFilter filter, const NeighbourhoodParameters* parameters)
{
    switch (filter) {
    case FILTER_OFF:
    case FILTER_BINARIZE_ONLY:
        if (parameters != nullptr) {
            return -EINVAL;
        }
        break;
    case FILTER_NEIGHBOURHOOD:
        if (!neighbourhoodDesignLoaded()) {
            return -ENXIO;
        }
        if (parameters == nullptr || parameters->mode != NEIGHBOURHOOD_MODE) {
            return -EINVAL;
        }
        _neighbourhood = *parameters;
        break;
    default:
        return -EINVAL;
    }
    _filter = filter;
    return 0;
}

int FpgaStage::setBinarization(bool on, const BinarizationParameters* parameters)
{
    if (!on) {
        _binarization.reset();
        return 0;
    }
    if (parameters == nullptr || parameters->mode != BINARIZATION_WINDOW ||
        parameters->invert > 1) {
        return -EINVAL;
    }
    _binarization = *parameters;
    return 0;
}

void FpgaStage::convert(std::span<std::uint8_t> picture, int width, int height)
{
    if (_colourSensor && _output != BAYER_OUTPUT_RAW) {
        convertBayer(copied(picture), width, height, _output, _pattern, picture);
    }
}

void FpgaStage::filter(std::span<std::uint8_t> picture, int width, int height)
{
    if (_filter == FILTER_BINARIZE_ONLY && _binarization) {
        threshold(picture, *_binarization, picture);
    } else if (_filter == FILTER_NEIGHBOURHOOD) {
        neighbours(copied(picture), width, height, _neighbourhood, picture);
    }
}

std::span<const std::uint8_t> FpgaStage::copied(std::span<const std::uint8_t> picture)
{
    _scratch.assign(picture.begin(), picture.end()); // allocates for the first picture only
    return _scratch;
}

} // namespace OCamera::simulated
