#pragma once

#include <cstddef>
#include <span>

namespace tarvik::io::stream {

/// Writing side of a byte stream T, which supplies writeImpl() and flushImpl().
template <class T>
class OutputStream
{
public:
    /// Writes every byte or throws an IOException.
    void write(std::span<const std::byte> bytes) { static_cast<T&>(*this).writeImpl(bytes); }

    /// Hands on what is still held back.
    void flush() { static_cast<T&>(*this).flushImpl(); }

protected:
    OutputStream() = default;
    ~OutputStream() = default;
    OutputStream(const OutputStream&) = default;
    OutputStream& operator=(const OutputStream&) = default;
};

} // namespace tarvik::io::stream
