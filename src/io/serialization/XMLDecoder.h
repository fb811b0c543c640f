#pragma once

#include "io/serialization/NumberText.h"
#include "io/serialization/Serializer.h"

#include <tinyxml.h>

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

namespace tarvik::io::serialization {

/// Walks an element tree in the order in which the fields are asked for: every element must stand
/// where it is expected and be read completely. The root element's name is not checked; attributes
/// are ignored.
///
/// Failures are SerializationException and leave the object being decoded partly filled.
class XMLDecoder : public Serializer<XMLDecoder>
{
public:
    /// Entries of the position stack: elements may be nested one level less below the root.
    static constexpr std::size_t MAX_DEPTH = 32;

    XMLDecoder() = default;
    XMLDecoder(const XMLDecoder&) = delete;
    XMLDecoder& operator=(const XMLDecoder&) = delete;

    /// Throws IOException "Couldn't open file." when the file cannot be read, and as
    /// loadFromString().
    void loadFromFile(const std::string& path);

    /// Throws SerializationException with the XML library's description and the place when the text
    /// does not parse, or with the limit when it is larger than XMLLimits.h allows.
    void loadFromString(const std::string& text);

    [[nodiscard]] static constexpr bool isEncoder() { return false; }

    /// Enters the next element, which must have this name; null accepts any.
    void beginElement(const char* name);
    void endElement();

    /// A whole number of the type's range; for a bool anything but 0 is true.
    template <std::integral T>
    void serialize(T& value)
    {
        if constexpr (std::same_as<T, bool>) {
            value = integer<std::int32_t>() != 0;
        } else if constexpr (std::same_as<T, char>) {
            value = static_cast<char>(integer<unsigned char>());
        } else {
            value = integer<T>();
        }
    }

    /// A decimal number in single precision; what exceeds the format keeps its low bits.
    template <int W, int F>
    void serialize(fp<W, F>& value)
    {
        value = fp<W, F>(wrapTo<typename fp<W, F>::Raw>(fixedPoint(F)));
    }

    void serializeText(std::string& text, std::size_t maxLength);

    /// Always throws "Invalid operation": a constant cannot be read into.
    [[noreturn]] static void serializeText(const char* text);

    void flush() {}

private:
    template <std::integral T>
    [[nodiscard]] T integer() const
    {
        T value{};
        if (!numbertext::parse(elementText(), value)) {
            using Limits = std::numeric_limits<T>;
            throwInvalidNumber("whole number from " + std::to_string(Limits::min()) + " to " +
                               std::to_string(Limits::max()));
        }
        return value;
    }

    [[nodiscard]] std::int64_t fixedPoint(int fractionBits) const;
    [[nodiscard]] const TiXmlElement& current() const;
    [[nodiscard]] std::string_view elementText() const;
    [[noreturn]] void throwInvalidNumber(const std::string& expected) const;

    TiXmlDocument _document;
    /// At each depth the next element to be read; below the depth, the elements entered.
    std::array<const TiXmlElement*, MAX_DEPTH> _next{};
    std::size_t _depth = 0;
};

} // namespace tarvik::io::serialization
