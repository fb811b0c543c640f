#pragma once

#include "analysis/AnalyzerConfiguration.h"
#include "breakup/BreakupConfiguration.h"
#include "camera/CameraConfiguration.h"
#include "configuration/SystemConfiguration.h"
#include "core/logging/LogManager.h"
#include "core/sys/DateTime.h"
#include "database/DatabaseState.h"
#include "database/comparators/AdvancedComparator.h"
#include "image/Image.h"
#include "io/com/Greeting.h"
#include "protocol/LogUpdateContents.h"
#include "protocol/StreamContents.h"
#include "protocol/StreamingSettings.h"

#include <tuple>

namespace tarvik::fuzz {

/// Everything that is stored or transmitted. An input's first byte chooses one of these; append
/// only, so that stored inputs keep their meaning.
using Objects =
    std::tuple<analysis::AnalyzerConfiguration, camera::CameraConfiguration,
               breakup::BreakupConfiguration, database::DatabaseState,
               database::DatabaseConfiguration, database::comparators::AdvancedComparator,
               com::StreamingSettings, sys::DateTime, image::Image, com::StreamContents,
               com::LogUpdateContents, logging::LogManagerSnapshot, com::server::UDPConfig,
               com::server::TelnetConfig, configuration::SystemConfiguration, io::com::Greeting>;

inline constexpr std::size_t OBJECT_COUNT = std::tuple_size_v<Objects>;

} // namespace tarvik::fuzz
