#pragma once

#include "core/concurrent/Mutex.h"
#include "protocol/StreamingSettings.h"

#include <optional>

namespace tarvik::com::server {

/// What one client's result stream carries now, and what it asked for: new settings wait until
/// somebody applies them between two results.
///
/// Threads: any.
class StreamingState
{
public:
    [[nodiscard]] StreamingSettings current() const
    {
        const concurrent::MutexLock lock(_mutex);
        return _current;
    }

    void request(const StreamingSettings& settings)
    {
        const concurrent::MutexLock lock(_mutex);
        _pending = settings;
    }

    /// True when settings were waiting; they are the current ones now.
    bool applyPending()
    {
        const concurrent::MutexLock lock(_mutex);
        if (!_pending) {
            return false;
        }
        _current = *_pending;
        _pending.reset();
        return true;
    }

private:
    /// A leaf: nothing is called while it is held, so the camera thread never waits here.
    mutable concurrent::Mutex _mutex;
    StreamingSettings _current TARVIK_GUARDED_BY(_mutex);
    std::optional<StreamingSettings> _pending TARVIK_GUARDED_BY(_mutex);
};

} // namespace tarvik::com::server
