#pragma once

#include "io/buffer/LittleEndian.h"
#include "io/serialization/Serializer.h"

#include <array>
#include <bit>
#include <concepts>
#include <cstdint>
#include <span>
#include <string>

namespace tarvik::io::serialization {

/// Reads what BinaryEncoder writes. Counts and lengths are checked before anything is allocated;
/// other failures are those of the stream's read().
template <class Stream>
class BinaryDecoder : public Serializer<BinaryDecoder<Stream>>
{
public:
    explicit BinaryDecoder(Stream& stream) : _stream(&stream) {}

    [[nodiscard]] static constexpr bool isEncoder() { return false; }

    void beginElement(const char* name) { _element = name; }

    void endElement() {}

    template <std::integral T>
    void serialize(T& value)
    {
        std::array<std::byte, sizeof(T)> bytes{};
        _stream->read(bytes);
        if constexpr (std::same_as<T, bool>) {
            value = bytes[0] != std::byte{0};
        } else {
            value = buffer::fromLittleEndian<T>(bytes);
        }
    }

    template <int W, int F>
    void serialize(fp<W, F>& value)
    {
        typename fp<W, F>::Raw raw = 0;
        serialize(raw);
        value = fp<W, F>(raw);
    }

    /// A zero byte inside the text ends it, as it does for every peer that keeps C strings.
    void serializeText(std::string& text, std::size_t maxLength)
    {
        std::int32_t length = 0;
        serialize(length);
        if (length < 0 || static_cast<std::size_t>(length) > maxLength) {
            throwInvalidLength(_element, length, maxLength);
        }
        text.assign(static_cast<std::size_t>(length), '\0');
        _stream->read(std::as_writable_bytes(std::span(text)));
        text.resize(std::char_traits<char>::length(text.c_str()));
    }

    template <class T>

    requires(BlockValue<T> && (std::endian::native == std::endian::little ||
                               sizeof(T) == 1)) void serializeBlock(T* items, std::size_t count)
    {
        _stream->read(std::as_writable_bytes(std::span(items, count)));
    }

    void flush() {}

private:
    Stream* _stream;
    /// The element entered last, for error texts.
    const char* _element = "";
};

} // namespace tarvik::io::serialization
