#pragma once

#include "io/stream/OutputStream.h"

#include <cstddef>
#include <span>
#include <vector>

namespace tarvik::io::stream {

/// A byte stream into a growing buffer.
class MemoryOutputStream : public OutputStream<MemoryOutputStream>
{
public:
    void writeImpl(std::span<const std::byte> bytes)
    {
        _bytes.insert(_bytes.end(), bytes.begin(), bytes.end());
    }

    void flushImpl() {}

    [[nodiscard]] std::span<const std::byte> bytes() const { return _bytes; }

    /// Keeps the memory for the next use.
    void clear() { _bytes.clear(); }

private:
    std::vector<std::byte> _bytes;
};

} // namespace tarvik::io::stream
