#pragma once

#include "camera/sbo/GreyThreshold.h"

namespace tarvik::camera::sbo {

/// Colour camera, 640 x 480, used as a grey one. The default model.
class SBOCCR1CGray : public GreyThreshold<SBO>
{
public:
    SBOCCR1CGray() : GreyThreshold(SENSOR_R1) {}
};

} // namespace tarvik::camera::sbo
