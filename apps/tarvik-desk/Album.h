#pragma once

#include "Snapshot.h"
#include "core/concurrent/Mutex.h"

#include <cstdint>
#include <deque>
#include <vector>

namespace tarvik::desk {

/// The images that can still be looked at: the latest ones, those that somebody holds to work with,
/// and a strip of one every half second.
///
/// Threads: any.
class Album
{
public:
    /// They come with pictures some 45 times a second at most (StreamChoice), so that what a
    /// browser shows can be clicked for a second.
    static constexpr std::size_t LATEST = 48;
    static constexpr std::size_t HELD = 6;
    static constexpr std::size_t STRIP = 20;

    void add(const SnapshotPtr& snapshot);

    /// The newest one; null before the first.
    [[nodiscard]] SnapshotPtr newest() const;
    /// Null when it has gone.
    [[nodiscard]] SnapshotPtr find(std::uint64_t number) const;
    /// Keeps it until others have been held after it. Null when it has gone already.
    SnapshotPtr hold(std::uint64_t number);
    /// Those with a picture, the newest first.
    [[nodiscard]] std::vector<SnapshotPtr> strip() const;

private:
    [[nodiscard]] SnapshotPtr findLocked(std::uint64_t number) const TARVIK_REQUIRES(_mutex);

    /// A leaf.
    mutable concurrent::Mutex _mutex;
    std::deque<SnapshotPtr> _latest TARVIK_GUARDED_BY(_mutex); ///< the newest first, as are all
    std::deque<SnapshotPtr> _held TARVIK_GUARDED_BY(_mutex);
    std::deque<SnapshotPtr> _strip TARVIK_GUARDED_BY(_mutex);
};

} // namespace tarvik::desk
