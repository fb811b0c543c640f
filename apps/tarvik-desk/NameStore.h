#pragma once

#include "core/concurrent/Mutex.h"

#include <cstdint>
#include <map>
#include <string>

namespace tarvik::desk {

/// The names of templates, which the camera does not store, in a file of the desk's own. Each
/// camera has names of its own.
///
/// The file is replaced as a whole: written beside itself, flushed and renamed. Threads: any.
class NameStore
{
public:
    using Names = std::map<std::int32_t, std::string>;

    static constexpr std::size_t MAX_BYTES = 80;

    /// Reads the file if there is one. Throws Exception for one that holds something else.
    NameStore(std::string path, std::string camera);

    [[nodiscard]] Names names() const;
    /// An empty name forgets. Throws ApiError for a name that is too long or has control
    /// characters, and Exception when the file cannot be written; the names are then as before.
    void set(std::int32_t id, const std::string& name);

    [[nodiscard]] const std::string& path() const { return _path; }

private:
    void write(const Names& names) const;

    const std::string _path;
    const std::string _camera;
    /// Held while the file is written.
    mutable concurrent::Mutex _mutex;
    Names _names TARVIK_GUARDED_BY(_mutex);
};

/// Replaces the file: written beside itself, flushed, renamed. Throws Exception.
void replaceFile(const std::string& path, const std::string& contents);

} // namespace tarvik::desk
