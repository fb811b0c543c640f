#pragma once

#include "io/stream/OutputStream.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <span>

namespace tarvik::io::stream {

/// Gathers small writes in 1024 bytes, so that a message leaves in as few socket writes as
/// possible. A buffer that has become exactly full stays until the next write or flush.
template <class S>
class BufferedOutputStream : public OutputStream<BufferedOutputStream<S>>
{
public:
    static constexpr std::size_t CAPACITY = 1024;

    explicit BufferedOutputStream(S& socket) : _socket(socket) {}

    void writeImpl(std::span<const std::byte> bytes)
    {
        const std::size_t free = CAPACITY - _used;
        if (bytes.size() <= free) {
            put(bytes);
            return;
        }
        put(bytes.first(free));
        flushImpl();
        bytes = bytes.subspan(free);
        if (bytes.size() > CAPACITY) { // whole buffers of a large block go out where they lie
            const std::size_t direct = (bytes.size() - 1) / CAPACITY * CAPACITY;
            _socket.write(bytes.first(direct));
            bytes = bytes.subspan(direct);
        }
        put(bytes);
    }

    void flushImpl()
    {
        if (_used > 0) {
            const std::size_t used = _used;
            _used = 0; // a failed write must not send the same bytes again later
            _socket.write(std::span<const std::byte>(_buffer).first(used));
        }
        _socket.flush();
    }

    /// Forgets what has not been sent.
    void clear() { _used = 0; }

private:
    void put(std::span<const std::byte> bytes)
    {
        if (!bytes.empty()) {
            std::memcpy(_buffer.data() + _used, bytes.data(), bytes.size());
            _used += bytes.size();
        }
    }

    S& _socket;
    std::size_t _used = 0;
    std::array<std::byte, CAPACITY> _buffer{};
};

} // namespace tarvik::io::stream
