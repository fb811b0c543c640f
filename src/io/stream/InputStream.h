#pragma once

#include <cstddef>
#include <span>

namespace tarvik::io::stream {

/// Reading side of a byte stream T, which supplies readImpl(), readSomeImpl() and
/// bytesAvailableImpl().
template <class T>
class InputStream
{
public:
    /// Fills the whole span, waiting as long as it takes, or throws an IOException; the end of the
    /// stream is a failure.
    void read(std::span<std::byte> bytes) { static_cast<T&>(*this).readImpl(bytes); }

    /// Waits for the first byte and takes what is there, at least one byte and at most the span.
    /// The end of the stream is a failure.
    [[nodiscard]] std::size_t readSome(std::span<std::byte> bytes)
    {
        return static_cast<T&>(*this).readSomeImpl(bytes);
    }

    /// Number of bytes that a read gets without waiting.
    [[nodiscard]] std::size_t bytesAvailable()
    {
        return static_cast<T&>(*this).bytesAvailableImpl();
    }

protected:
    InputStream() = default;
    ~InputStream() = default;
    InputStream(const InputStream&) = default;
    InputStream& operator=(const InputStream&) = default;
};

} // namespace tarvik::io::stream
