#pragma once

#include "io/buffer/ByteBuffer.h"
#include "server/TaughtValues.h"

#include <string>
#include <string_view>

namespace tarvik::database {
class Matchings;
struct Matching;
} // namespace tarvik::database

/// The telnet server's answers, letter by letter and byte by byte, without their line ends
/// (docs/protocol.md). Numbers look the same in every locale.
namespace tarvik::com::server::telnet {

using AnswerBuffer = io::buffer::ByteBuffer<1024>;

inline constexpr std::string_view LINE_END = "\r\n";
inline constexpr std::string_view GREETING = "20 no authentication required.";
inline constexpr std::string_view CAMERA_READY = "1 OK: operation successful.";
inline constexpr std::string_view CAMERA_NOT_READY = "-10 ERROR: camera not ready.";
inline constexpr std::string_view UNKNOWN_COMMAND = "0 ERROR: parse error, or command unknown.";
inline constexpr std::string_view NO_SUCH_OBJECT = "-1, 0.0, 0.0, (0, 0, 0, 0, 0, 0)";

/// Objects that fit a binary record; the others are not reported.
inline constexpr int MAX_RECORD_OBJECTS = 16;

[[nodiscard]] std::string version();

/// Template, grip rotation, height, position and rotation of one object; angles in degrees.
[[nodiscard]] std::string objectLine(const database::Matching& matching,
                                     const TaughtValues& taught);

/// Zero-based index of the object that an argument "O<number>" asks for: the number is what at
/// most two characters make in decimal, 0 when they make none.
[[nodiscard]] int objectIndex(std::string_view argument);

/// The binary record: 30 bytes of header, then 40 bytes for each of at most 16 objects.
void appendResultRecord(AnswerBuffer& answer, const database::Matchings& matchings);

} // namespace tarvik::com::server::telnet
