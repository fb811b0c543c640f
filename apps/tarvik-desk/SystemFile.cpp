#include "SystemFile.h"

#include "ApiError.h"
#include "SettingJson.h"
#include "configuration/ConfigurationFile.h"

#include <algorithm>
#include <array>

namespace tarvik::desk {

using concurrent::MutexLock;
using configuration::SystemConfiguration;

bool SystemFile::covers(const std::string& name)
{
    static constexpr std::array GROUPS{"server.", "udp.", "telnet.", "logging."};
    return std::ranges::any_of(GROUPS, [&](const char* g) { return name.starts_with(g); });
}

Json SystemFile::json() const
{
    const SystemConfiguration c =
        known() ? configuration::loadOrDefault(_path) : SystemConfiguration();
    Json json{{"file", known() ? Json(_path) : Json()}, {"settings", settingsJson(c, covers)}};
    json["pending"] = Json::object();
    const MutexLock lock(_mutex);
    for (const auto& [name, value] : _pending) {
        json["pending"][name] = Json::parse(value);
    }
    return json;
}

void SystemFile::change(const std::string& name, const Json& value)
{
    if (!known()) {
        throw ApiError(ApiError::Conflict,
                       "The control connection does not carry '" + name +
                           "', and the desk knows no config.xml. Start it with --config FILE on "
                           "the camera's machine.");
    }
    if (!covers(name)) {
        throw ApiError(ApiError::NotFound, "'" + name +
                                               "' is no setting of the groups server, "
                                               "udp, telnet and logging.");
    }
    SystemConfiguration scratch;
    changeSetting(scratch, name, value); // throws for what is no value
    const MutexLock lock(_mutex);
    _pending[name] = value.dump();
}

bool SystemFile::pending() const
{
    const MutexLock lock(_mutex);
    return !_pending.empty();
}

void SystemFile::apply()
{
    const MutexLock lock(_mutex);
    if (_pending.empty()) {
        return;
    }
    SystemConfiguration c = configuration::loadOrDefault(_path);
    for (const auto& [name, value] : _pending) {
        changeSetting(c, name, Json::parse(value));
    }
    configuration::save(c, _path);
    _pending.clear();
}

} // namespace tarvik::desk
