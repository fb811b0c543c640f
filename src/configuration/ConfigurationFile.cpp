#include "configuration/ConfigurationFile.h"

#include "io/IOException.h"
#include "io/serialization/SerializationException.h"
#include "io/serialization/XMLDecoder.h"
#include "io/serialization/XMLEncoder.h"

#include <filesystem>
#include <system_error>

namespace tarvik::configuration {

using io::IOException;
using io::serialization::field;
using io::serialization::SerializationException;

namespace {

std::string about(const std::string& path, const char* what)
{
    return "Configuration file '" + path + "': " + what;
}

} // namespace

SystemConfiguration load(const std::string& path)
{
    SystemConfiguration configuration;
    try {
        io::serialization::XMLDecoder decoder;
        decoder.loadFromFile(path);
        decoder& field("Tarvik", configuration);
    } catch (const SerializationException& e) {
        throw SerializationException(about(path, e.what()));
    } catch (const IOException& e) {
        throw IOException(about(path, e.what()));
    }
    return configuration;
}

SystemConfiguration loadOrDefault(const std::string& path)
{
    std::error_code unknown;
    const bool missing = !std::filesystem::exists(path, unknown) && !unknown;
    return missing ? SystemConfiguration{} : load(path);
}

void save(const SystemConfiguration& configuration, const std::string& path)
{
    try {
        io::serialization::XMLEncoder encoder;
        encoder& field("Tarvik", configuration);
        encoder.saveToFile(path);
    } catch (const IOException& e) {
        throw IOException(e.reason().empty() ? about(path, e.what())
                                             : std::string(e.what()) + " " + e.reason());
    }
}

} // namespace tarvik::configuration
