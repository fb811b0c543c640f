#pragma once

#include "camera/sbo/GreyThreshold.h"

namespace tarvik::camera::sbo {

/// Grey camera, 640 x 480.
class SBOCCR1B : public GreyThreshold<SBOMonochrome>
{
public:
    SBOCCR1B() : GreyThreshold(SENSOR_R1) {}
};

} // namespace tarvik::camera::sbo
