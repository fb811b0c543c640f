#pragma once

#include "Target.h"

#include <sys/mman.h>
#include <unistd.h>

#include <string>

namespace tarvik::fuzz {

/// A file in memory, with a path, for what reads files only.
class MemoryFile
{
public:
    MemoryFile(const std::uint8_t* data, std::size_t size)
        : _descriptor(::memfd_create("input", MFD_CLOEXEC))
    {
        require(_descriptor >= 0 && ::write(_descriptor, data, size) == static_cast<ssize_t>(size),
                "a file in memory takes the input");
    }

    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    ~MemoryFile() { ::close(_descriptor); }

    [[nodiscard]] std::string path() const
    {
        return "/proc/self/fd/" + std::to_string(_descriptor);
    }

private:
    int _descriptor;
};

} // namespace tarvik::fuzz
