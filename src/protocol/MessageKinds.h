#pragma once

#include "io/com/Message.h"

/// Every message of the control connection and of the test client's connection: its name, from
/// which the id on the wire follows, and its type. Payloads: docs/protocol.md, and the serialize
/// templates named here.
namespace tarvik::com::kinds {

struct MessageKind
{
    const char* name;
    io::com::Message::Type type;
};

inline constexpr auto COMMAND = io::com::Message::Type::Command;
inline constexpr auto NOTIFICATION = io::com::Message::Type::Notification;
inline constexpr auto REQUEST = io::com::Message::Type::Request;

// Answered with, or carrying, the configuration class of the component.
inline constexpr MessageKind GET_ANALYZER_CONFIG{"GetAnalyzerConfig", REQUEST};
inline constexpr MessageKind SET_ANALYZER_CONFIG{"SetAnalyzerConfig", COMMAND};
inline constexpr MessageKind GET_CAMERA_CONFIG{"GetCameraConfig", REQUEST};
inline constexpr MessageKind SET_CAMERA_CONFIG{"SetCameraConfig", COMMAND};
inline constexpr MessageKind GET_BREAKUP_CONFIG{"GetBreakupConfig", REQUEST};
inline constexpr MessageKind SET_BREAKUP_CONFIG{"SetBreakupConfig", COMMAND};

// database::DatabaseState; its configuration; the settings of its current comparator.
inline constexpr MessageKind GET_DATABASE{"GetDatabase", REQUEST};
inline constexpr MessageKind SET_DATABASE{"SetDatabase", COMMAND};
inline constexpr MessageKind SET_DATABASE_CONFIG{"SetDatabaseConfig", COMMAND};
inline constexpr MessageKind SET_DATABASE_COMPARATOR{"SetDatabaseComparator", COMMAND};

inline constexpr MessageKind TEST_CONNECTION{"TestConnection", COMMAND};   // nothing
inline constexpr MessageKind CONFIG_STREAMING{"ConfigStreaming", COMMAND}; // StreamingSettings
inline constexpr MessageKind CONFIG_LOGGING{"ConfigLogging", REQUEST};     // bool; log snapshot
inline constexpr MessageKind SET_SYSTEM_TIME{"SetSystemTime", COMMAND};    // sys::DateTime
inline constexpr MessageKind SERVER_SHUTDOWN{"ServerShutdown", COMMAND};   // nothing
inline constexpr MessageKind SYNC_CONFIG{"SyncConfig", COMMAND};           // nothing
inline constexpr MessageKind STREAM{"Stream", NOTIFICATION};               // StreamContents
inline constexpr MessageKind LOG_UPDATE{"LogUpdate", NOTIFICATION};        // LogUpdateContents

// The test client's own.
inline constexpr MessageKind SET_CAMERA_SOURCE{"SetCameraSource", COMMAND};          // image::Image
inline constexpr MessageKind UNSET_CAMERA_SOURCE{"UnsetCameraSource", COMMAND};      // nothing
inline constexpr MessageKind GET_CAM_IMG_OVERRIDDEN{"GetCamImgOverridden", REQUEST}; // bool

} // namespace tarvik::com::kinds
