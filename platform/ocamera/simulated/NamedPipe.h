#pragma once

#include <filesystem>
#include <string>

namespace OCamera::simulated {

/// Opens a named pipe for reading without waiting, in such a way that writers may come and go.
/// Returns -1 for an empty path, and after a failure, which it reports on standard error with the
/// variable that told the path, what to do, and what follows from it.
[[nodiscard]] int openNamedPipe(const std::string& variable, const std::filesystem::path& path,
                                const std::string& consequence);

} // namespace OCamera::simulated
