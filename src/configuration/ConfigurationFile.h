#pragma once

#include "configuration/SystemConfiguration.h"

#include <string>

/// Reading and writing a whole configuration file.
namespace tarvik::configuration {

/// Throws IOException when the file cannot be read, SerializationException when it holds something
/// else than a configuration; the text names the file.
[[nodiscard]] SystemConfiguration load(const std::string& path);

/// The same, but the defaults when there is no such file.
[[nodiscard]] SystemConfiguration loadOrDefault(const std::string& path);

/// Replaces the file as a whole or not at all. Throws IOException, whose text names the file.
void save(const SystemConfiguration& configuration, const std::string& path);

} // namespace tarvik::configuration
