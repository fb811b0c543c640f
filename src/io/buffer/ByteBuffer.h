#pragma once

#include "io/IOException.h"
#include "io/buffer/LittleEndian.h"

#include <array>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>

namespace tarvik::io::buffer {

/// Up to N bytes, filled from the front; numbers are little-endian. An append that does not fit
/// throws IOException "Not enough free space in buffer." and changes nothing.
template <std::size_t N>
class ByteBuffer
{
public:
    void append(std::byte value) { append(std::span<const std::byte>(&value, 1)); }

    template <std::integral T>
    void append(T value)
    {
        append(std::span<const std::byte>(toLittleEndian(value)));
    }

    /// IEEE 754: 4 bytes of a float, 8 of a double.
    template <std::floating_point T>
    void append(T value)
    {
        append(ieeeBits(value));
    }

    /// The characters, without a terminator.
    void append(std::string_view text) { append(std::as_bytes(std::span(text))); }

    void append(const char* text) { append(std::string_view(text)); }

    void append(std::span<const std::byte> block)
    {
        if (block.size() > N - _size) {
            throw IOException("Not enough free space in buffer.");
        }
        if (!block.empty()) {
            std::memcpy(_bytes.data() + _size, block.data(), block.size());
            _size += block.size();
        }
    }

    void clear() { _size = 0; }

    [[nodiscard]] std::span<const std::byte> bytes() const
    {
        return std::span<const std::byte>(_bytes).first(_size);
    }

    [[nodiscard]] std::size_t size() const { return _size; }

private:
    std::size_t _size = 0;
    std::array<std::byte, N> _bytes{};
};

} // namespace tarvik::io::buffer
