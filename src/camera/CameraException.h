#pragma once

#include "core/Exception.h"

namespace tarvik::camera {

/// A failure of the camera or of its driver.
class CameraException : public Exception
{
public:
    using Exception::Exception;
};

/// The sensor works, but no image came within the read time-out.
class CameraTimeout : public CameraException
{
public:
    using CameraException::CameraException;
};

} // namespace tarvik::camera
