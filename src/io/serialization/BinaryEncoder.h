#pragma once

#include "io/buffer/LittleEndian.h"
#include "io/serialization/Serializer.h"

#include <bit>
#include <concepts>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tarvik::io::serialization {

/// Writes values as little-endian bytes without padding, names or type tags (docs/protocol.md).
/// Failures are those of the stream's write().
template <class Stream>
class BinaryEncoder : public Serializer<BinaryEncoder<Stream>>
{
public:
    explicit BinaryEncoder(Stream& stream) : _stream(&stream) {}

    [[nodiscard]] static constexpr bool isEncoder() { return true; }

    void beginElement(const char* /*name*/) {}

    void endElement() {}

    template <std::integral T>
    void serialize(T value)
    {
        _stream->write(buffer::toLittleEndian(value));
    }

    template <int W, int F>
    void serialize(fp<W, F> value)
    {
        serialize(value.raw());
    }

    /// Length and bytes. A text ends before its first zero byte, on every side of the protocol.
    void serializeText(const std::string& text, std::size_t /*maxLength*/)
    {
        const std::string_view content(text.c_str());
        serialize(static_cast<std::int32_t>(content.size()));
        _stream->write(std::as_bytes(std::span(content)));
    }

    template <class T>

    requires(BlockValue<T> && (std::endian::native == std::endian::little ||
                               sizeof(T) == 1)) void serializeBlock(const T* items,
                                                                    std::size_t count)
    {
        _stream->write(std::as_bytes(std::span(items, count)));
    }

    void flush() { _stream->flush(); }

private:
    Stream* _stream;
};

} // namespace tarvik::io::serialization
