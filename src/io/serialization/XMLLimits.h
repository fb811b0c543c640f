#pragma once

#include <cstddef>
#include <string_view>

namespace tarvik::io::serialization {

/// What a document may hold, read or written. The XML library parses with one stack frame per
/// level and takes about 200 bytes per node, so a hostile file is refused before it gets there. The
/// largest document of use, 32 templates with all the points of a frame each, has about 200,000
/// elements in 10 MB.
struct XMLLimits
{
    static constexpr std::size_t MAX_BYTES = std::size_t{64} << 20U;
    static constexpr std::size_t MAX_NODES = 500'000; ///< elements, end tags not counted
    static constexpr std::size_t MAX_LEVELS = 256;
    static constexpr std::size_t MAX_ATTRIBUTES = 64; ///< of one element
};

/// Throws SerializationException "The XML document has too many <what>. Allowed: <limit>.".
void checkXMLCount(std::size_t count, std::size_t limit, const char* what);

/// Throws SerializationException, with the limit in its text, when the document exceeds one.
/// Malformed text passes: the parser will describe what is wrong with it.
void checkXMLLimits(std::string_view text);

} // namespace tarvik::io::serialization
