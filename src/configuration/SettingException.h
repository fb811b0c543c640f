#pragma once

#include "core/Exception.h"

namespace tarvik::configuration {

/// A name that no setting has, or a text that is no value of it; the message shows what is.
class SettingException : public Exception
{
public:
    using Exception::Exception;
};

} // namespace tarvik::configuration
