#include "SettingJson.h"

#include "ApiError.h"
#include "camera/CameraFactory.h"
#include "configuration/SettingGuide.h"
#include "database/ComparatorFactory.h"

#include <algorithm>
#include <charconv>
#include <map>

namespace tarvik::desk {

using configuration::Setting;
using configuration::SettingGuide;
using configuration::SystemConfiguration;
using Kind = Setting::Kind;

namespace {

const char* kindName(Kind kind)
{
    switch (kind) {
    case Kind::Whole:
        return "whole";
    case Kind::Real:
        return "real";
    case Kind::YesNo:
        return "yesno";
    case Kind::Text:
        break;
    }
    return "text";
}

Json valueOf(const Setting& setting)
{
    return setting.kind == Kind::Text ? Json(setting.text)
                                      : Json::parse(setting.text); // its own text: a number or word
}

template <class Factory>
Json names(const Factory& factory)
{
    Json list = Json::array();
    for (const auto& implementation : factory.implementations()) {
        list.push_back(implementation->name());
    }
    return list;
}

Json choices(const std::string& name)
{
    if (name == "camera.Implementation") {
        return names(camera::CameraFactory::instance());
    }
    if (name == "database.ComparatorName") {
        return names(database::ComparatorFactory::instance());
    }
    return name == "analyzer.PolygonExtractor" ? Json::array({"SoftwarePolygonExtractor"}) : Json();
}

const std::map<std::string, Json>& defaults()
{
    static const std::map<std::string, Json> VALUES = [] {
        std::map<std::string, Json> values;
        for (const Setting& setting : configuration::settings(SystemConfiguration())) {
            values[setting.name] = valueOf(setting);
        }
        return values;
    }();
    return VALUES;
}

std::string limitText(const Setting& setting, const SettingGuide& guide)
{
    const auto number = [](double value) {
        char text[48];
        const auto end = std::to_chars(text, text + sizeof text, value).ptr;
        return std::string(text, end);
    };
    switch (setting.kind) {
    case Kind::YesNo:
        return "true or false";
    case Kind::Text:
        return "a text";
    default:
        break;
    }
    return (setting.kind == Kind::Whole ? "a whole number from " : "a number from ") +
           number(guide.least.value_or(setting.least)) + " to " +
           number(guide.most.value_or(setting.most));
}

bool inRange(const Setting& setting, const SettingGuide& guide, const Json& value)
{
    switch (setting.kind) {
    case Kind::YesNo:
        return value.is_boolean();
    case Kind::Text:
        return value.is_string();
    case Kind::Whole:
        if (!value.is_number_integer()) {
            return false;
        }
        break;
    case Kind::Real:
        if (!value.is_number()) {
            return false;
        }
    }
    const double number = value.get<double>();
    return number >= guide.least.value_or(setting.least) &&
           number <= guide.most.value_or(setting.most);
}

/// As the coder behind the names reads it, which knows no exponents in whole numbers.
std::string textOf(const Json& value)
{
    return value.is_string() ? value.get<std::string>() : value.dump();
}

} // namespace

Json settingJson(const Setting& setting)
{
    const SettingGuide& guide = configuration::guideTo(setting.name);
    Json json{
        {"name", setting.name},      {"group", setting.name.substr(0, setting.name.find('.'))},
        {"title", guide.title},      {"kind", kindName(setting.kind)},
        {"value", valueOf(setting)}, {"unit", setting.unit},
        {"about", guide.about}};
    const auto found = defaults().find(setting.name);
    if (found != defaults().end()) {
        json["default"] = found->second;
    }
    if (setting.kind == Kind::Whole || setting.kind == Kind::Real) {
        json["least"] = guide.least.value_or(setting.least);
        json["most"] = guide.most.value_or(setting.most);
    }
    const Json known = choices(setting.name);
    if (!known.is_null()) {
        json["choices"] = known;
    }
    return json;
}

void changeSetting(SystemConfiguration& c, const std::string& name, const Json& value)
{
    const std::vector<Setting> all = configuration::settings(c);
    const auto found = std::ranges::find(all, name, &Setting::name);
    if (found == all.end()) {
        throw ApiError(ApiError::NotFound,
                       "There is no setting '" + name + "'. All of them: GET /api/settings");
    }
    const SettingGuide& guide = configuration::guideTo(name);
    const Json known = choices(name);
    if (!known.is_null() && std::ranges::find(known, value) == known.end()) {
        throw ApiError(name, value, "one of " + known.dump());
    }
    if (!inRange(*found, guide, value)) {
        throw ApiError(name, value, limitText(*found, guide));
    }
    try {
        configuration::change(c, name, textOf(value));
    } catch (const configuration::SettingException& e) {
        throw ApiError(ApiError::Unprocessable, e.what());
    }
}

} // namespace tarvik::desk
