#pragma once

#include "io/stream/InputStream.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <span>

namespace tarvik::io::stream {

/// Takes from the socket everything that is there, up to 1024 bytes at once, and deals it out.
/// Blocks larger than that are received where they are wanted.
template <class S>
class BufferedInputStream : public InputStream<BufferedInputStream<S>>
{
public:
    static constexpr std::size_t CAPACITY = 1024;

    explicit BufferedInputStream(S& socket) : _socket(socket) {}

    void readImpl(std::span<std::byte> bytes)
    {
        bytes = take(bytes);
        while (bytes.size() >= CAPACITY) {
            bytes = bytes.subspan(_socket.readSome(bytes));
        }
        while (!bytes.empty()) {
            fill();
            bytes = take(bytes);
        }
    }

    [[nodiscard]] std::size_t readSomeImpl(std::span<std::byte> bytes)
    {
        if (_position == _fill) {
            fill();
        }
        return bytes.size() - take(bytes).size();
    }

    [[nodiscard]] std::size_t bytesAvailableImpl()
    {
        return _fill - _position + _socket.bytesAvailable();
    }

    /// Number of bytes that a read gets without asking the socket.
    [[nodiscard]] std::size_t buffered() const { return _fill - _position; }

    /// Forgets what has not been read.
    void clear() { _position = _fill = 0; }

private:
    void fill()
    {
        clear();
        _fill = _socket.readSome(_buffer);
    }

    /// Copies what is buffered and returns the part still to be filled.
    std::span<std::byte> take(std::span<std::byte> bytes)
    {
        const std::size_t count = std::min(bytes.size(), _fill - _position);
        if (count > 0) {
            std::memcpy(bytes.data(), _buffer.data() + _position, count);
            _position += count;
        }
        return bytes.subspan(count);
    }

    S& _socket;
    std::size_t _position = 0;
    std::size_t _fill = 0;
    std::array<std::byte, CAPACITY> _buffer{};
};

} // namespace tarvik::io::stream
