#pragma once

#include <nlohmann/json.hpp>
#include <numbers>

namespace tarvik::desk {

/// Keeps fields in the order in which they are written, which is how people read them.
using Json = nlohmann::ordered_json;

inline constexpr const char* JSON_TYPE = "application/json; charset=utf-8";

/// JSON has angles in degrees.
inline constexpr double RAD_TO_DEG = 180 / std::numbers::pi;

/// Decimals beyond what the formats resolve would only be noise.
[[nodiscard]] double rounded(double value, int decimals);

} // namespace tarvik::desk
