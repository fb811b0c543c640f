#pragma once

#include "io/IOException.h"
#include "io/stream/InputStream.h"

#include <algorithm>
#include <cstddef>
#include <span>

namespace tarvik::io::stream {

/// A byte stream from memory that the caller keeps alive.
/// Reading past its end throws IOException "Couldn't read data.".
class MemoryInputStream : public InputStream<MemoryInputStream>
{
public:
    explicit MemoryInputStream(std::span<const std::byte> bytes) : _rest(bytes) {}

    void readImpl(std::span<std::byte> bytes)
    {
        if (bytes.size() > _rest.size()) {
            throw IOException("Couldn't read data.");
        }
        std::copy_n(_rest.begin(), bytes.size(), bytes.begin());
        _rest = _rest.subspan(bytes.size());
    }

    [[nodiscard]] std::size_t readSomeImpl(std::span<std::byte> bytes)
    {
        const std::size_t count = std::min(bytes.size(), std::max<std::size_t>(_rest.size(), 1));
        readImpl(bytes.first(count));
        return count;
    }

    [[nodiscard]] std::size_t bytesAvailableImpl() const { return _rest.size(); }

private:
    std::span<const std::byte> _rest;
};

} // namespace tarvik::io::stream
