#include "Objects.h"
#include "Target.h"
#include "core/Exception.h"
#include "io/serialization/XMLDecoder.h"
#include "io/serialization/XMLEncoder.h"

#include <array>
#include <memory>
#include <string>
#include <utility>

// The XML decoder with every object. What has been decoded can be written and read again; the
// texts may differ, since fixed-point numbers are rounded on the way.

namespace tarvik::fuzz {
namespace {

using io::serialization::field;

template <class T>
std::unique_ptr<T> decoded(const std::string& text)
{
    auto object = std::make_unique<T>();
    io::serialization::XMLDecoder decoder;
    decoder.loadFromString(text);
    decoder& field("Object", *object);
    return object;
}

template <class T>
void roundTrip(const std::string& text)
{
    const std::unique_ptr<T> object = decoded<T>(text);
    io::serialization::XMLEncoder encoder;
    encoder& field("Object", *object);
    try {
        decoded<T>(encoder.printToBuffer());
    } catch (const Exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        require(false, "what has been written can be read");
    }
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
    if (size == 0) {
        return 0;
    }
    const std::string text(data + 1, data + size);
    try {
        ROUND_TRIPS[*data % ROUND_TRIPS.size()](text);
    } catch (const Exception&) {
        // refused
    }
    return 0;
}
