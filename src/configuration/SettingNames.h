#pragma once

#include "configuration/SettingException.h"
#include "configuration/SystemConfiguration.h"

#include <string>
#include <vector>

/// Every setting of a configuration by a dotted name such as "analyzer.MinPolygonSize". The names
/// are those of the serialize operations behind the component's: server, udp, telnet, camera,
/// analyzer, database, comparator, breakup and logging.
namespace tarvik::configuration {

struct Setting
{
    enum class Kind
    {
        Whole,
        Real,
        YesNo,
        Text,
    };

    std::string name;
    std::string text; ///< the value, exact to the last bit of its format
    std::string unit; ///< empty when it has none
    Kind kind = Kind::Text;
    /// What the format holds, of numbers.
    double least = 0;
    double most = 0;
};

/// All settings in the order of the configuration file.
[[nodiscard]] std::vector<Setting>
settings(const configuration::SystemConfiguration& configuration);

/// The settings that a name stands for: itself, or all of a group ("camera"); capitals do not
/// matter. Throws SettingException when there is none.
[[nodiscard]] std::vector<Setting> settingsNamed(const std::vector<Setting>& all,
                                                 const std::string& name);

/// Changes one setting; the others keep every bit. Throws SettingException for an unknown name, and
/// for a text that is no value of it.
void change(configuration::SystemConfiguration& configuration, const std::string& name,
            const std::string& text);

} // namespace tarvik::configuration
