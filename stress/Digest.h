#pragma once

#include "io/serialization/BinaryEncoder.h"
#include "io/stream/MemoryOutputStream.h"

#include <cstddef>
#include <functional>
#include <string_view>

namespace tarvik::test {

/// A number that two objects share when they look the same on the wire.
template <class T>
std::size_t digest(const T& object)
{
    io::stream::MemoryOutputStream bytes;
    io::serialization::BinaryEncoder encoder(bytes);
    encoder& io::serialization::field("", object);
    const auto* const text = reinterpret_cast<const char*>(bytes.bytes().data());
    return std::hash<std::string_view>()({text, bytes.bytes().size()});
}

} // namespace tarvik::test
