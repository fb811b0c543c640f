#pragma once

#include "core/Exception.h"

namespace tarvik::teaching {

/// Something that cannot be taught; the text says why and what to do about it.
class TeachingException : public Exception
{
public:
    using Exception::Exception;
};

} // namespace tarvik::teaching
