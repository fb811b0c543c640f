#pragma once

#include "camera/sbo/HSVThreshold.h"

namespace tarvik::camera::sbo {

/// Colour camera, 640 x 480.
class SBOCCR1C : public HSVThreshold
{
public:
    SBOCCR1C() : HSVThreshold(SENSOR_R1) {}
};

} // namespace tarvik::camera::sbo
