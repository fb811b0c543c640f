#pragma once

#include "ApiError.h"
#include "Json.h"

#include <cmath>
#include <cstdint>
#include <optional>
#include <string>

/// Reading fields of a JSON request; what is not as it should be throws ApiError.
namespace tarvik::desk {

/// A number of a range; nothing when the field is absent or null.
[[nodiscard]] inline std::optional<double> numberField(const Json& json, const std::string& name,
                                                       double least, double most)
{
    const auto found = json.find(name);
    if (found == json.end() || found->is_null()) {
        return std::nullopt;
    }
    const double value = found->is_number() ? found->get<double>() : std::nan("");
    if (!(value >= least && value <= most)) {
        throw ApiError(name, *found,
                       "a number from " + Json(least).dump() + " to " + Json(most).dump());
    }
    return value;
}

/// A whole number of a range; nothing when the field is absent or null.
[[nodiscard]] inline std::optional<std::int64_t>
wholeField(const Json& json, const std::string& name, std::int64_t least, std::int64_t most)
{
    const auto found = json.find(name);
    if (found == json.end() || found->is_null()) {
        return std::nullopt;
    }
    if (!found->is_number_integer() || found->get<double>() < static_cast<double>(least) ||
        found->get<double>() > static_cast<double>(most)) {
        throw ApiError(name, *found,
                       "a whole number from " + std::to_string(least) + " to " +
                           std::to_string(most));
    }
    return found->get<std::int64_t>();
}

[[nodiscard]] inline std::optional<bool> yesNoField(const Json& json, const std::string& name)
{
    const auto found = json.find(name);
    if (found == json.end() || found->is_null()) {
        return std::nullopt;
    }
    if (!found->is_boolean()) {
        throw ApiError(name, *found, "true or false");
    }
    return found->get<bool>();
}

[[nodiscard]] inline std::optional<std::string> textField(const Json& json, const std::string& name)
{
    const auto found = json.find(name);
    if (found == json.end() || found->is_null()) {
        return std::nullopt;
    }
    if (!found->is_string()) {
        throw ApiError(name, *found, "a text");
    }
    return found->get<std::string>();
}

template <class T>
[[nodiscard]] T required(const std::optional<T>& value, const std::string& name)
{
    if (!value) {
        throw ApiError(ApiError::Unprocessable, "The field '" + name + "' is missing.");
    }
    return *value;
}

struct XY
{
    double x = 0;
    double y = 0;
};

/// {"x": ..., "y": ...}; nothing when the field is absent or null.
[[nodiscard]] inline std::optional<XY> pointField(const Json& json, const std::string& name,
                                                  double least, double most)
{
    const auto found = json.find(name);
    if (found == json.end() || found->is_null()) {
        return std::nullopt;
    }
    if (!found->is_object()) {
        throw ApiError(name, *found, "an object with x and y");
    }
    return XY{required(numberField(*found, "x", least, most), name + ".x"),
              required(numberField(*found, "y", least, most), name + ".y")};
}

} // namespace tarvik::desk
