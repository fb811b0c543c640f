#pragma once

#include "core/concurrent/Mutex.h"

#include <chrono>
#include <cstdint>

namespace tarvik::desk {

/// Counts what has become new, by kind. Who remembers what it has seen can wait for more.
struct News
{
    std::uint64_t image = 0;
    std::uint64_t state = 0;
    std::uint64_t log = 0;
    std::uint64_t settings = 0;
    std::uint64_t templates = 0;
};

/// Wakes the browsers' threads. What is new stands elsewhere: a slow reader finds the latest there
/// and never holds up who announces.
///
/// Threads: any.
class Bulletin
{
public:
    void announce(std::uint64_t News::*kind)
    {
        const concurrent::MutexLock lock(_mutex);
        ++(_news.*kind);
        _changed.notifyAll();
    }

    /// Waits until the predicate holds of the news, the desk closes, or the time is over.
    template <class Predicate>
    [[nodiscard]] News waitFor(std::chrono::milliseconds limit, Predicate predicate)
    {
        const concurrent::MutexLock lock(_mutex);
        _changed.waitFor(_mutex, limit,
                         [&]() TARVIK_REQUIRES(_mutex) { return _closed || predicate(_news); });
        return _news;
    }

    [[nodiscard]] News current() const
    {
        const concurrent::MutexLock lock(_mutex);
        return _news;
    }

    void close()
    {
        const concurrent::MutexLock lock(_mutex);
        _closed = true;
        _changed.notifyAll();
    }

    [[nodiscard]] bool closed() const
    {
        const concurrent::MutexLock lock(_mutex);
        return _closed;
    }

private:
    /// A leaf: nothing is called under it.
    mutable concurrent::Mutex _mutex;
    concurrent::Condition _changed;
    News _news TARVIK_GUARDED_BY(_mutex);
    bool _closed TARVIK_GUARDED_BY(_mutex) = false;
};

} // namespace tarvik::desk
