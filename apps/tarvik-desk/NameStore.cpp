#include "NameStore.h"

#include "ApiError.h"
#include "Json.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

namespace tarvik::desk {

using concurrent::MutexLock;

namespace {

Json readFile(const std::string& path)
{
    std::ifstream file(path);
    if (!file) {
        return Json::object();
    }
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    Json json = Json::parse(text, nullptr, false);
    if (!json.is_object() || !json.value("cameras", Json::object()).is_object()) {
        throw Exception("'" + path +
                        "' holds no names of templates. Move it away, or choose "
                        "another file with --names.");
    }
    return json;
}

[[noreturn]] void fail(const std::string& path)
{
    throw Exception("Cannot write '" + path + "': " + std::generic_category().message(errno) +
                    ". Choose another file with --names, or look at the rights to the folder.");
}

} // namespace

void replaceFile(const std::string& path, const std::string& contents)
{
    const std::string beside = path + ".tmp";
    const int file = ::open(beside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (file < 0) {
        fail(beside);
    }
    bool good = true;
    for (std::size_t done = 0; good && done < contents.size();) {
        const ssize_t written = ::write(file, contents.data() + done, contents.size() - done);
        good = written > 0;
        done += good ? static_cast<std::size_t>(written) : 0;
    }
    good = good && ::fsync(file) == 0;
    good = ::close(file) == 0 && good;
    if (!good || std::rename(beside.c_str(), path.c_str()) != 0) {
        const int reason = errno;
        ::unlink(beside.c_str());
        errno = reason;
        fail(path);
    }
}

NameStore::NameStore(std::string path, std::string camera)
    : _path(std::move(path)),
      _camera(std::move(camera))
{
    const Json json = readFile(_path);
    const Json mine = json.value("cameras", Json::object()).value(_camera, Json::object());
    for (const auto& [key, name] : mine.items()) {
        std::int32_t id = 0;
        const auto [end, error] = std::from_chars(key.data(), key.data() + key.size(), id);
        if (error == std::errc() && *end == '\0' && name.is_string()) {
            _names[id] = name.get<std::string>();
        }
    }
}

NameStore::Names NameStore::names() const
{
    const MutexLock lock(_mutex);
    return _names;
}

void NameStore::set(std::int32_t id, const std::string& name)
{
    if (name.size() > MAX_BYTES) {
        throw ApiError("name", name, "at most " + std::to_string(MAX_BYTES) + " bytes");
    }
    for (const char c : name) {
        if (static_cast<unsigned char>(c) < ' ') {
            throw ApiError("name", name, "text without control characters");
        }
    }
    const MutexLock lock(_mutex);
    Names changed = _names;
    if (name.empty()) {
        changed.erase(id);
    } else {
        changed[id] = name;
    }
    if (changed != _names) {
        write(changed);
        _names = std::move(changed);
    }
}

void NameStore::write(const Names& names) const
{
    Json json = readFile(_path); // another desk may have added its camera
    Json mine = Json::object();
    for (const auto& [id, name] : names) {
        mine[std::to_string(id)] = name;
    }
    json["cameras"][_camera] = mine;
    const auto folder = std::filesystem::path(_path).parent_path();
    if (!folder.empty()) {
        std::error_code ignored; // writing tells
        std::filesystem::create_directories(folder, ignored);
    }
    replaceFile(_path, json.dump(2) + "\n");
}

} // namespace tarvik::desk
