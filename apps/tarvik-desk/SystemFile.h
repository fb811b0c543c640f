#pragma once

#include "Json.h"
#include "core/concurrent/Mutex.h"

#include <map>
#include <string>

namespace tarvik::desk {

/// The settings that the control connection does not carry (server, udp, telnet, logging), in the
/// config.xml of a camera process on this machine.
///
/// The process reads the file when it starts and writes it when its client leaves, so changes wait
/// here until it has ended. Threads: any.
class SystemFile
{
public:
    /// An empty path: there is no such file, and nothing can be changed.
    explicit SystemFile(std::string path) : _path(std::move(path)) {}

    [[nodiscard]] bool known() const { return !_path.empty(); }

    /// Whether this setting is one of those.
    [[nodiscard]] static bool covers(const std::string& name);

    /// The settings with their guide and what waits to be written; without a file those that a
    /// process without a file has. Throws Exception when the file cannot be read.
    [[nodiscard]] Json json() const;

    /// Keeps a change until apply(). Throws ApiError for what is no value of it.
    void change(const std::string& name, const Json& value);

    [[nodiscard]] bool pending() const;

    /// Writes what waits into the file; the process must have ended. Throws Exception.
    void apply();

private:
    const std::string _path;
    mutable concurrent::Mutex _mutex;
    std::map<std::string, std::string> _pending TARVIK_GUARDED_BY(_mutex);
};

} // namespace tarvik::desk
