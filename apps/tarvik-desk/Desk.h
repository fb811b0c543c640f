#pragma once

#include "Album.h"
#include "Bulletin.h"
#include "CameraLink.h"
#include "LogBook.h"
#include "NameStore.h"
#include "ResultBook.h"
#include "SystemFile.h"
#include "Workbench.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace tarvik::desk {

struct DeskOptions
{
    client::ServerAddress camera{"127.0.0.1", client::ControlClient::PORT};
    std::string names;  ///< file of the templates' names
    std::string config; ///< the camera's config.xml when it is on this machine, else empty
};

/// Everything but the web: the connection, what came from it, and what it can be asked to do.
///
/// Threads: any, behind begin(). The members' own locks are leaves and taken one at a time.
class Desk
{
public:
    /// Throws Exception when the file of names holds something else.
    explicit Desk(const DeskOptions& options);
    ~Desk();
    Desk(const Desk&) = delete;
    Desk& operator=(const Desk&) = delete;

    void begin() { _link.begin(); }

    /// Sends all viewers away and disconnects.
    void end();

    [[nodiscard]] Bulletin& bulletin() { return _bulletin; }

    [[nodiscard]] CameraLink& link() { return _link; }

    [[nodiscard]] Workbench& workbench() { return _workbench; }

    [[nodiscard]] Album& album() { return _album; }

    [[nodiscard]] ResultBook& results() { return _results; }

    [[nodiscard]] LogBook& log() { return _log; }

    [[nodiscard]] NameStore& names() { return _names; }

    [[nodiscard]] SystemFile& systemFile() { return _systemFile; }

    /// Connection, camera, rate and stage times.
    [[nodiscard]] Json stateJson() const;

private:
    [[nodiscard]] CameraLink::Handlers handlers();
    void connected(CameraLink::Client& camera);
    void show(const CameraLink::Client::Result& result);
    void processEnded();

    Bulletin _bulletin;
    Album _album;
    ResultBook _results;
    LogBook _log;
    NameStore _names;
    SystemFile _systemFile;
    std::atomic<std::uint64_t> _imageNumber{0};
    CameraLink _link; ///< its threads use all of the above ...
    Workbench _workbench;
};

} // namespace tarvik::desk
