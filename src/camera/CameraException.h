#pragma once

#include "core/Exception.h"

namespace tarvik::camera {

/// A failure of the camera or of its driver.
class CameraException : public Exception
{
public:
    using Exception::Exception;
};

} // namespace tarvik::camera
