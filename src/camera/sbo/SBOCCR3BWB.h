#pragma once

#include "camera/sbo/GreyThreshold.h"

namespace tarvik::camera::sbo {

/// Grey camera, 752 x 480, with either sensor chip.
class SBOCCR3BWB : public GreyThreshold<SBOMonochrome>
{
public:
    SBOCCR3BWB() : GreyThreshold(SENSOR_R3) {}
};

} // namespace tarvik::camera::sbo
