#include "camera/sbo/NeighboursSBO.h"

#include "camera/CameraException.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>

namespace tarvik::camera::sbo {

using logging::LogLevel;

namespace {

/// The FPGA keeps its design until the machine is switched off.
std::atomic<bool> designLoaded{false};

void loadDesign()
{
    if (!designLoaded) {
        // NOLINTNEXTLINE(concurrency-mt-unsafe,cert-env33-c): a fixed command of the camera
        designLoaded = std::system("loadfpga sbo_r1_neighbor.fpga") == 0;
    }
}

} // namespace

void NeighboursSBO::open()
{
    SBOMonochrome::open();
    log(LogLevel::Info, "Loading FPGA neighbourhood filter...");
    loadDesign();
    if (designLoaded) {
        setupFilters();
        log(LogLevel::Info, "FPGA neighbourhood filter activated.");
    } else {
        log(LogLevel::Warning, "Warning: Couldn't load FPGA neighbourhood filter. Falling back to "
                               "software encoder.");
        _softwareImage.emplace();
    }
}

void NeighboursSBO::close()
{
    SBOMonochrome::close();
    _softwareImage.reset();
}

void NeighboursSBO::getImages(image::Image** original, image::Image** binary)
{
    SBOMonochrome::getImages(original, binary);
    image::Image* const frame = *original;
    if (frame == nullptr) {
        return;
    }
    if (fpgaEncoding()) {
        *original = nullptr;
        *binary = frame;
    } else {
        encodeImage(*frame, *_softwareImage);
        *binary = &*_softwareImage;
    }
}

void NeighboursSBO::update(bool originalImageNeeded)
{
    SBOMonochrome::update(originalImageNeeded);
    setupFilters();
}

void NeighboursSBO::onConfigChange(const CameraConfiguration& oldConfig,
                                   const CameraConfiguration& newConfig)
{
    SBOMonochrome::onConfigChange(oldConfig, newConfig);
    setupFilters();
}

void NeighboursSBO::encodeImage(const image::Image& grey, image::Image& codes)
{
    _encoder.encode(grey, config().greyWindow(), codes);
}

void NeighboursSBO::setupFilters()
{
    if (!isOpen()) {
        return;
    }
    if (originalImageNeeded() || !designLoaded) {
        check(camera().SetFilter(OCamera::FILTER_OFF), "SetFilter(OCamera::FILTER_OFF)");
        if (!_softwareImage) {
            _softwareImage.emplace();
        }
    } else {
        selectFilter();
        _softwareImage.reset();
    }
    camera().PurgeImages(); // taken under the old settings
}

void NeighboursSBO::selectFilter()
{
    constexpr std::uint32_t NOT_INVERTED = std::uint32_t{1} << 31;
    const std::uint32_t thresholds =
        config().thresholdLow | static_cast<std::uint32_t>(config().thresholdHigh) << 8;
    const OCamera::NeighbourhoodParameters parameters{
        .mode = 2, .thresholds = thresholds | (config().invert ? 0 : NOT_INVERTED), .reserved = 0};
    check(camera().SetFilter(OCamera::FILTER_NEIGHBOURHOOD, &parameters),
          "SetFilter(OCamera::FILTER_NEIGHBOURHOOD, &parameters)");
}

} // namespace tarvik::camera::sbo
