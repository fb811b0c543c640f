#pragma once

#include "camera/CameraFactory.h"
#include "core/serialization/Fields.h"
#include "image/ByteWindow.h"

#include <cstdint>

namespace tarvik::camera {

/// How pictures are taken and binarized. A plain value; the driver keeps its own copy.
class CameraConfiguration
{
public:
    using Implementation = CameraFactory::Implementation;

    CameraConfiguration() { setImplementation(nullptr); }

    /// The camera model; never null.
    [[nodiscard]] const Implementation* implementation() const { return _implementation; }

    /// Null selects the factory's default.
    void setImplementation(const Implementation* implementation)
    {
        const auto& factory = CameraFactory::instance();
        _implementation =
            implementation == nullptr ? factory.defaultImplementation() : implementation;
    }

    /// The program triggers each image.
    static constexpr std::int32_t INTERNAL_TRIGGER = 0;
    /// Pulses on input E0 trigger the images; so they do with every other value but 0.
    static constexpr std::int32_t EXTERNAL_TRIGGER = 1;

    std::int32_t triggerMode = INTERNAL_TRIGGER;
    std::uint32_t shutterTime = 20000; ///< microseconds of exposure
    std::uint8_t gain = 3;             ///< of the sensor's amplifier, in its own steps

    /// Grey values of the foreground, both bounds included.
    std::uint8_t thresholdLow = 128;
    std::uint8_t thresholdHigh = 255;

    /// Colours of the foreground, all bounds included. The hues go from the lower bound upwards to
    /// the greater one, past 255 and 0 when that is the smaller number.
    std::uint8_t lowerValH = 64;
    std::uint8_t greaterValH = 196;
    std::uint8_t lowerValS = 64;
    std::uint8_t greaterValS = 196;
    std::uint8_t lowerValV = 64;
    std::uint8_t greaterValV = 196;

    /// Foreground is what lies outside the windows.
    bool invert = false;

    /// The grey values of the foreground, `invert` included.
    [[nodiscard]] image::ByteWindow greyWindow() const
    {
        return image::ByteWindow::interval(thresholdLow, thresholdHigh).inverted(invert);
    }

    friend bool operator==(const CameraConfiguration&, const CameraConfiguration&) = default;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using io::serialization::choice;
        using io::serialization::field;
        s& choice("Implementation", CameraFactory::instance(), self._implementation) &
            field("TriggerMode", self.triggerMode) & field("ShutterTime", self.shutterTime) &
            field("Gain", self.gain) & field("ThresholdLow", self.thresholdLow) &
            field("ThresholdHigh", self.thresholdHigh) & field("LowerValH", self.lowerValH) &
            field("GreaterValH", self.greaterValH) & field("LowerValS", self.lowerValS) &
            field("GreaterValS", self.greaterValS) & field("LowerValV", self.lowerValV) &
            field("GreaterValV", self.greaterValV) & field("Invert", self.invert);
    }

private:
    const Implementation* _implementation = nullptr;
};

} // namespace tarvik::camera
