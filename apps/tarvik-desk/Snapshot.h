#pragma once

#include "Pictures.h"
#include "core/concurrent/Mutex.h"
#include "database/DatabaseState.h"
#include "protocol/StreamContents.h"
#include "teaching/Teaching.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>

namespace tarvik::desk {

/// One image with everything that was found in it: all parts are of the same image, and nothing
/// changes any more. What browsers get of it is made when the first one asks, and once.
///
/// Threads: any.
class Snapshot
{
public:
    using Result = std::shared_ptr<const com::StreamContents>;
    using Database = std::shared_ptr<const database::DatabaseState>;

    /// The size is that of the camera's images: pictures may be missing.
    Snapshot(std::uint64_t number, std::int64_t epochMs, teaching::PictureSize size, Result result,
             Database database);

    /// Counts the images of this desk.
    [[nodiscard]] std::uint64_t number() const { return _number; }

    /// Milliseconds since the epoch, when it arrived.
    [[nodiscard]] std::int64_t epochMs() const { return _epochMs; }

    [[nodiscard]] teaching::PictureSize size() const { return _size; }

    [[nodiscard]] const com::StreamContents& result() const { return *_result; }

    /// The templates with which it was compared.
    [[nodiscard]] const database::DatabaseState& database() const { return *_database; }

    [[nodiscard]] bool hasPicture(PictureKind kind) const;

    /// Objects and times as JSON text.
    [[nodiscard]] const std::string& json() const;
    /// PNG of the binary picture, else JPEG, in base64. The picture must be there.
    [[nodiscard]] const std::string& encoded(PictureKind kind) const;

private:
    const std::uint64_t _number;
    const std::int64_t _epochMs;
    const teaching::PictureSize _size;
    const Result _result;
    const Database _database;

    /// Held while something is made, so that nobody makes it twice. A leaf.
    mutable concurrent::Mutex _mutex;
    mutable std::string _json TARVIK_GUARDED_BY(_mutex);
    mutable std::array<std::string, PICTURE_KINDS> _encoded TARVIK_GUARDED_BY(_mutex);
};

using SnapshotPtr = std::shared_ptr<const Snapshot>;

} // namespace tarvik::desk
