#pragma once

#include <nlohmann/json.hpp>

namespace tarvik::desk {

/// Keeps fields in the order in which they are written, which is how people read them.
using Json = nlohmann::ordered_json;

/// Decimals beyond what the formats resolve would only be noise.
[[nodiscard]] double rounded(double value, int decimals);

} // namespace tarvik::desk
