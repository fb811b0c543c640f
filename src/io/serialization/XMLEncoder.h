#pragma once

#include "io/serialization/NumberText.h"
#include "io/serialization/Serializer.h"

#include <tinyxml.h>

#include <concepts>
#include <string>

namespace tarvik::io::serialization {

/// Builds an element tree under the root element "Data" from the values that it is given.
///
/// A document that XMLDecoder would refuse for its size is not built either: beginElement() throws
/// SerializationException, before a file that loads is replaced by one that does not.
class XMLEncoder : public Serializer<XMLEncoder>
{
public:
    XMLEncoder();

    [[nodiscard]] static constexpr bool isEncoder() { return true; }

    void beginElement(const char* name);
    void endElement();

    /// Whole numbers in decimal; a bool as 0 or 1; a char as its unsigned byte value.
    template <std::integral T>
    void serialize(T value)
    {
        if constexpr (std::same_as<T, char>) {
            addText(std::to_string(static_cast<unsigned char>(value)));
        } else {
            addText(std::to_string(value));
        }
    }

    /// Six decimals.
    template <int W, int F>
    void serialize(fp<W, F> value)
    {
        addText(numbertext::format(value.toDouble()));
    }

    void serializeText(const std::string& text, std::size_t /*maxLength*/) { addText(text); }

    void serializeText(const char* text) { addText(text); }

    /// Writes the document to a temporary file beside the path, flushes it to the disk and renames
    /// it over the path, so that at any moment one whole file is there. On failure throws
    /// IOException "Couldn't save file.", and the old file stays.
    void saveToFile(const std::string& path) const;

    /// The document as text, one tab per level of indentation.
    [[nodiscard]] std::string printToBuffer() const;

    void flush() {}

private:
    void addText(const std::string& text);

    TiXmlDocument _document;
    TiXmlNode* _current;    ///< inside _document, which owns it
    std::size_t _nodes = 0; ///< as XMLDecoder will count them
};

} // namespace tarvik::io::serialization
