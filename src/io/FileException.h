#pragma once

#include "io/IOException.h"

#include <string>
#include <utility>

namespace tarvik::io {

/// A file that could not be written. The reason names the file, what failed and why the system says
/// it did; a sentence of its own.
class FileException : public IOException
{
public:
    FileException(std::string message, std::string reason)
        : IOException(std::move(message)),
          _reason(std::move(reason))
    {}

    [[nodiscard]] const std::string& reason() const noexcept { return _reason; }

private:
    std::string _reason;
};

} // namespace tarvik::io
