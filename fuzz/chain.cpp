#include "Chain.h"

#include "Picture.h"
#include "core/Exception.h"

// The whole chain with arbitrary settings on arbitrary pictures. An input is a list of steps: a
// byte that says what follows, then settings in their binary form or a picture.

namespace tarvik::fuzz {
namespace {

constexpr int MAX_PICTURES = 4;

template <class T>
T decoded(Input& input)
{
    T settings{};
    io::serialization::BinaryDecoder decoder(static_cast<io::stream::MemoryInputStream&>(input));
    decoder& io::serialization::field("Settings", settings);
    return settings;
}

/// Settings that are refused change nothing.
void configure(Chain& chain, Input& input, unsigned what)
{
    try {
        switch (what) {
        case 0:
            chain.analyzer.setConfig(decoded<analysis::AnalyzerConfiguration>(input));
            break;
        case 1:
            chain.database.setState(decoded<database::DatabaseState>(input));
            break;
        case 2:
            chain.divider.setConfig(decoded<breakup::BreakupConfiguration>(input));
            break;
        case 3:
            chain.database.setConfig(decoded<database::DatabaseConfiguration>(input));
            break;
        default:
            break;
        }
    } catch (const Exception&) {
    }
}

} // namespace
} // namespace tarvik::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace tarvik;
    fuzz::silence();
    fuzz::Input input(data, size);
    fuzz::Chain chain;
    int pictures = 0;
    while (input.bytesAvailable() > 0 && pictures < fuzz::MAX_PICTURES) {
        const unsigned step = input.byte() % 6U;
        if (step < 4) {
            fuzz::configure(chain, input, step);
        } else {
            image::Image picture = fuzz::takePicture(input);
            chain.process(picture);
            ++pictures;
        }
    }
    return 0;
}
