#include "Chain.h"
#include "MemoryFile.h"
#include "configuration/ConfigurationFile.h"
#include "core/Exception.h"
#include "io/serialization/XMLDecoder.h"
#include "io/serialization/XMLEncoder.h"

#include <optional>

// Loading a whole configuration file. One that loads can be put to use on an image, written and
// loaded again.

namespace tarvik::fuzz {
namespace {

using io::serialization::field;

std::optional<configuration::SystemConfiguration> loaded(const std::uint8_t* data, std::size_t size)
{
    try {
        const MemoryFile file(data, size);
        return configuration::load(file.path());
    } catch (const Exception&) {
        return std::nullopt;
    }
}

void use(const configuration::SystemConfiguration& settings)
{
    Chain chain;
    chain.analyzer.setConfig(settings.analyzer.config);
    chain.database.setState(settings.database);
    chain.divider.setConfig(settings.divider.config);
    image::Image picture(64, 48);
    for (int y = 8; y < 40; ++y) {
        for (int x = 8; x < 50 + y % 8; ++x) {
            picture.data()[y * 64 + x] = x / 12 == 2 && y / 12 == 2 ? 0 : 255;
        }
    }
    chain.process(picture);
}

void writeAndRead(const configuration::SystemConfiguration& settings)
{
    io::serialization::XMLEncoder encoder;
    encoder& field("Tarvik", settings);
    configuration::SystemConfiguration again;
    io::serialization::XMLDecoder decoder;
    try {
        decoder.loadFromString(encoder.printToBuffer());
        decoder& field("Tarvik", again);
    } catch (const Exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        require(false, "a configuration that has been loaded can be stored");
    }
    require(again.database.numTemplates() == settings.database.numTemplates(),
            "every template is stored");
}

} // namespace
} // namespace tarvik::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace tarvik;
    fuzz::silence();
    if (const auto settings = fuzz::loaded(data, size)) {
        fuzz::use(*settings);
        fuzz::writeAndRead(*settings);
    }
    return 0;
}
