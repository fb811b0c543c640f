#pragma once

#include "core/Exception.h"

namespace tarvik::io {

/// Base of the failures of input and output.
class IOException : public Exception
{
public:
    using Exception::Exception;
};

} // namespace tarvik::io
