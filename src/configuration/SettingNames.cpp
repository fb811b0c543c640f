#include "configuration/SettingNames.h"

#include "configuration/SettingCoders.h"
#include "configuration/SettingGuide.h"
#include "io/serialization/SerializationException.h"

#include <algorithm>
#include <cctype>

namespace tarvik::configuration {

using database::DatabaseState;
using io::serialization::field;

namespace {

/// Comparators are shared and never change, so a changed one takes their place.
template <class S>
void serializeComparatorOf(S& s, DatabaseState& state)
{
    const auto comparator = database::ComparatorFactory::make(state.config().comparatorImpl());
    *comparator = *state.comparator();
    database::serializeComparator(s, "comparator", *comparator);
    state.setComparator(*comparator);
}

template <class S>
void serializeSettings(S& s, SystemConfiguration& c)
{
    s& field("server", c.general) & field("udp", c.udp.config) & field("telnet", c.telnet) &
        field("camera", c.camera.config) & field("analyzer", c.analyzer.config);
    database::DatabaseConfiguration database = c.database.config();
    s& field("database", database);
    c.database.setConfig(database);
    serializeComparatorOf(s, c.database);
    s& field("breakup", c.divider.config) & field("logging", c.logging);
}

std::string lower(std::string text)
{
    std::ranges::transform(text, text.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

} // namespace

std::vector<Setting> settings(const SystemConfiguration& configuration)
{
    SettingLister lister;
    SystemConfiguration copy = configuration;
    serializeSettings(lister, copy);
    std::vector<Setting> all = lister.take();
    for (Setting& setting : all) {
        setting.unit = guideTo(setting.name).unit;
    }
    return all;
}

std::vector<Setting> settingsNamed(const std::vector<Setting>& all, const std::string& name)
{
    const std::string wanted = lower(name);
    std::vector<Setting> found;
    for (const Setting& setting : all) {
        const std::string candidate = lower(setting.name);
        if (candidate == wanted || candidate.starts_with(wanted + ".")) {
            found.push_back(setting);
        }
    }
    if (found.empty()) {
        throw SettingException("There is no setting '" + name +
                               "'. All of them: tarvik-lab config get");
    }
    return found;
}

void change(SystemConfiguration& configuration, const std::string& name, const std::string& text)
{
    const std::vector<Setting> all = settings(configuration);
    const std::vector<Setting> found = settingsNamed(all, name);
    if (found.size() != 1 || lower(found.front().name) != lower(name)) {
        throw SettingException("'" + name + "' is a group of settings; name one, such as " +
                               found.front().name + ".");
    }
    SystemConfiguration changed = configuration;
    SettingChanger changer(all, found.front().name, text);
    try {
        serializeSettings(changer, changed);
    } catch (const io::serialization::SerializationException& e) {
        throw SettingException(e.what());
    }
    configuration = changed;
}

} // namespace tarvik::configuration
