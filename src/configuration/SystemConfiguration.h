#pragma once

#include "analysis/AnalyzerConfiguration.h"
#include "breakup/BreakupConfiguration.h"
#include "camera/CameraConfiguration.h"
#include "core/logging/LogManager.h"
#include "core/serialization/Fields.h"
#include "database/DatabaseState.h"
#include "server/TelnetConfig.h"
#include "server/UDPConfig.h"

#include <cstdint>

namespace tarvik::configuration {

/// Names the elements of the configuration file's element "Tarvik" in their order. Each part is a
/// component, or a value in its place, with a serialize template of its own.
template <class S, class General, class UDP, class Telnet, class Camera, class Analyzer,
          class Database, class Divider, class Logging>
void serializeSystem(S& s, General& general, UDP& udp, Telnet& telnet, Camera& camera,
                     Analyzer& analyzer, Database& database, Divider& divider, Logging& logging)
{
    using io::serialization::field;
    s& field("Server", general) & field("UDPSender", udp) & field("Telnet", telnet) &
        field("Camera", camera) & field("Analyzer", analyzer) & field("Database", database) &
        field("PolygonDivider", divider) & field("Logging", logging);
}

/// The element "Server".
struct GeneralConfiguration
{
    std::uint32_t autoSaveInterval = 3; ///< minutes; 0 for never
    bool requestSysTime = true;         ///< clients may set the clock

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using io::serialization::field;
        s& field("AutoSaveInterval", self.autoSaveInterval) &
            field("RequestSysTime", self.requestSysTime);
    }
};

/// A component that stores nothing but its configuration.
template <class Config>
struct Configured
{
    Config config;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        s& io::serialization::field("Configuration", self.config);
    }
};

/// All that config.xml holds, as a value: for programs that read or write the file without running
/// the system. The defaults are those of a system that starts without a file.
struct SystemConfiguration
{
    GeneralConfiguration general;
    Configured<com::server::UDPConfig> udp;
    com::server::TelnetConfig telnet;
    Configured<camera::CameraConfiguration> camera;
    Configured<analysis::AnalyzerConfiguration> analyzer;
    database::DatabaseState database;
    Configured<breakup::BreakupConfiguration> divider;
    logging::LogConfig logging;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        serializeSystem(s, self.general, self.udp, self.telnet, self.camera, self.analyzer,
                        self.database, self.divider, self.logging);
    }
};

} // namespace tarvik::configuration
