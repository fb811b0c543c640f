#pragma once

#include "camera/sbo/HSVThreshold.h"

namespace tarvik::camera::sbo {

/// Colour camera, 752 x 480, with either sensor chip.
class SBOCCR3C : public HSVThreshold
{
public:
    SBOCCR3C() : HSVThreshold(SENSOR_R3) {}
};

} // namespace tarvik::camera::sbo
