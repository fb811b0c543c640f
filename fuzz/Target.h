#pragma once

#include "core/logging/LogManager.h"
#include "io/IOException.h"
#include "io/stream/MemoryInputStream.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>

/// What the fuzz targets share. A target defines LLVMFuzzerTestOneInput() and ends the process when
/// what must hold for every input does not; fuzz/replay.cpp calls it with stored inputs where there
/// is no libFuzzer.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace tarvik::fuzz {

/// What must hold for every input.
inline void require(bool condition, const char* what)
{
    if (!condition) {
        std::fprintf(stderr, "This does not hold: %s\n", what);
        std::abort();
    }
}

/// Input bytes one after the other; zeros behind their end.
class Input : public io::stream::MemoryInputStream
{
public:
    Input(const std::uint8_t* data, std::size_t size)
        : MemoryInputStream(std::as_bytes(std::span(data, size)))
    {}

    std::uint8_t byte()
    {
        std::byte value{};
        if (bytesAvailable() > 0) {
            read(std::span(&value, 1));
        }
        return std::to_integer<std::uint8_t>(value);
    }

    std::int16_t word()
    {
        const unsigned low = byte();
        return static_cast<std::int16_t>(low | static_cast<unsigned>(byte()) << 8U);
    }
};

/// Keeps log entries off the console, for the life of the process.
inline void silence()
{
    logging::LogManager::globalInstance().setConfig({.logToConsole = false});
}

} // namespace tarvik::fuzz
