#pragma once

#include "camera/sbo/GreyThreshold.h"

namespace tarvik::camera::sbo {

/// Grey camera, 1280 x 1024.
class SBOCCR2B : public GreyThreshold<SBOMonochrome>
{
public:
    SBOCCR2B() : GreyThreshold(SENSOR_R2) {}
};

} // namespace tarvik::camera::sbo
