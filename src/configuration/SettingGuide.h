#pragma once

#include <optional>
#include <string_view>

namespace tarvik::configuration {

/// What a person wants to know of a setting. Texts live as long as the program.
struct SettingGuide
{
    const char* title = "";
    const char* unit = "";  ///< empty when it has none
    const char* about = ""; ///< one sentence
    /// The sensible range, of numbers, where it is narrower than the format's.
    std::optional<double> least;
    std::optional<double> most;
};

/// The guide to the setting of this dotted name; an empty one for a name that no setting has.
[[nodiscard]] const SettingGuide& guideTo(std::string_view name);

} // namespace tarvik::configuration
