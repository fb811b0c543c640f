#pragma once

#include "Json.h"
#include "configuration/SettingNames.h"

#include <string>
#include <vector>

namespace tarvik::desk {

/// A setting as the page shows it: name, group, title, kind, value, default, unit, range, choices
/// and one sentence.
[[nodiscard]] Json settingJson(const configuration::Setting& setting);

/// Of all settings that the predicate takes.
template <class Predicate>
[[nodiscard]] Json settingsJson(const configuration::SystemConfiguration& c, Predicate wanted)
{
    Json list = Json::array();
    for (const configuration::Setting& setting : configuration::settings(c)) {
        if (wanted(setting.name)) {
            list.push_back(settingJson(setting));
        }
    }
    return list;
}

/// Changes one setting to a JSON value: a number, true or false, or a text. Throws ApiError, which
/// names setting, value and limit.
void changeSetting(configuration::SystemConfiguration& c, const std::string& name,
                   const Json& value);

} // namespace tarvik::desk
