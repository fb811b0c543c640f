#pragma once

#include "camera/sbo/GreyThreshold.h"

namespace tarvik::camera::sbo {

/// Colour camera, 752 x 480, with either sensor chip, used as a grey one.
class SBOCCR3CGray : public GreyThreshold<SBO>
{
public:
    SBOCCR3CGray() : GreyThreshold(SENSOR_R3) {}
};

} // namespace tarvik::camera::sbo
