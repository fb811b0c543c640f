#pragma once

#include "core/Exception.h"

namespace tarvik::image {

/// An image whose description contradicts itself.
class ImageException : public Exception
{
public:
    using Exception::Exception;
};

} // namespace tarvik::image
