#pragma once

#include "protocol/StreamContents.h"
#include "teaching/Teaching.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

/// Results as JSON, one object per picture.
namespace tarvik::lab {

using Json = nlohmann::ordered_json;

/// What was recognised in the picture of this name. Frame and matchings must have been streamed.
[[nodiscard]] Json resultJson(const std::string& picture, const com::StreamContents& result,
                              teaching::PictureSize size);

/// What to report for a picture that has no result.
[[nodiscard]] Json failureJson(const std::string& picture, const std::string& why);

/// The differences between two results of one picture, a line each; times and object ids, which
/// differ from run to run, do not count. Empty when there are none.
[[nodiscard]] std::vector<std::string> differences(const Json& expected, const Json& actual);

} // namespace tarvik::lab
