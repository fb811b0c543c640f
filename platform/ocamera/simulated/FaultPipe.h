#pragma once

#include "ocamera/simulated/Faults.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace OCamera::simulated {

/// The way in for faults from outside the process: the named pipe that OCAMERA_FAULTS tells. Each
/// line written to it is a command, which holds from the next call of the library on:
///
///     OPERATION NTH RESULT [always]              GetImage 1 -5
///     OPERATION NTH slow MILLISECONDS [always]   ReadImageRAM 3 slow 500 always
///     clear
///
/// NTH and RESULT as in Fault; always: until cleared; clear takes every fault back. Other lines
/// are named on standard error and have no effect.
class FaultPipe
{
public:
    /// Opens the pipe, none for an empty path. On failure says on standard error what to do.
    explicit FaultPipe(const std::filesystem::path& path);
    FaultPipe(const FaultPipe&) = delete;
    FaultPipe& operator=(const FaultPipe&) = delete;
    FaultPipe(FaultPipe&&) = delete;
    FaultPipe& operator=(FaultPipe&&) = delete;
    ~FaultPipe();

    /// A fault, or none for "clear".
    using Command = std::optional<Fault>;

    /// The commands that have come since the last call; returns at once.
    [[nodiscard]] std::vector<Command> read();

private:
    int _pipe = -1;
    std::string _unread; ///< begin of a line whose end has not come
};

} // namespace OCamera::simulated
