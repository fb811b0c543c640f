#pragma once

#include <cstddef>
#include <string_view>

namespace tarvik::io::serialization {

/// What a document may hold. The XML library parses with one stack frame per level and about 200
/// bytes per node, so a hostile file is refused before it gets there. The largest real document, a
/// full database, has about 400,000 elements in 12 MB.
struct XMLLimits
{
    static constexpr std::size_t MAX_BYTES = std::size_t{64} << 20U;
    static constexpr std::size_t MAX_NODES = 1'000'000; ///< elements, end tags not counted
    static constexpr std::size_t MAX_LEVELS = 256;
    static constexpr std::size_t MAX_ATTRIBUTES = 64; ///< of one element
};

/// Throws SerializationException, with the limit in its text, when the document exceeds one.
/// Malformed text passes: the parser will describe what is wrong with it.
void checkXMLLimits(std::string_view text);

} // namespace tarvik::io::serialization
