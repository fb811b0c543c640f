#include "Objects.h"
#include "Target.h"
#include "core/Exception.h"
#include "io/serialization/BinaryDecoder.h"
#include "io/serialization/BinaryEncoder.h"
#include "io/stream/MemoryOutputStream.h"

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

// The binary decoder of every object. What decodes comes back the same once it has been encoded.

namespace tarvik::fuzz {
namespace {

using io::serialization::field;
using io::stream::MemoryInputStream;
using io::stream::MemoryOutputStream;

/// A heap object, since a frame with its pools is large.
template <class T>
std::unique_ptr<T> decoded(MemoryInputStream& stream)
{
    auto object = std::make_unique<T>();
    io::serialization::BinaryDecoder decoder(stream);
    decoder& field("Object", *object);
    return object;
}

template <class T>
MemoryOutputStream encoded(const T& object)
{
    MemoryOutputStream stream;
    io::serialization::BinaryEncoder encoder(stream);
    encoder& field("Object", object);
    return stream;
}

template <class T>
void roundTrip(MemoryInputStream& input)
{
    const MemoryOutputStream first = encoded(*decoded<T>(input));
    MemoryInputStream again(first.bytes());
    const MemoryOutputStream second = encoded(*decoded<T>(again));
    require(again.bytesAvailable() == 0, "a decoder reads all that the encoder wrote");
    require(std::ranges::equal(first.bytes(), second.bytes()), "a decoded object encodes the same");
}

template <std::size_t... I>
constexpr auto roundTrips(std::index_sequence<I...> /*indexes*/)
{
    return std::array{&roundTrip<std::tuple_element_t<I, Objects>>...};
}

} // namespace
} // namespace tarvik::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace tarvik;
    static constexpr auto ROUND_TRIPS =
        fuzz::roundTrips(std::make_index_sequence<fuzz::OBJECT_COUNT>());
    fuzz::Input input(data, size);
    const std::size_t kind = input.byte() % ROUND_TRIPS.size();
    try {
        ROUND_TRIPS[kind](input);
    } catch (const Exception&) {
        // refused
    }
    return 0;
}
