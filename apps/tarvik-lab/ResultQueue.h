#pragma once

#include "client/ControlClient.h"
#include "core/concurrent/Mutex.h"

#include <chrono>
#include <deque>
#include <optional>

namespace tarvik::lab {

/// Results on their way from a client's receiving thread to the program's own; the oldest go when
/// nobody takes them.
class ResultQueue
{
public:
    using Result = client::ControlClient::Result;

    /// Passes on the results that carry a frame.
    void listenTo(client::ControlClient& camera)
    {
        camera.onResult([this](const Result& result) { push(result); });
        camera.onLost([this](const client::ClientException& reason) { end(reason); });
    }

    /// The next result, or nothing after this time.
    /// Throws ClientException once the connection is lost and all results are taken.
    [[nodiscard]] Result take(std::chrono::milliseconds time)
    {
        const concurrent::MutexLock lock(_mutex);
        static_cast<void>(_changed.waitFor(_mutex, time, [this]() TARVIK_REQUIRES(_mutex) {
            return !_results.empty() || _lost.has_value();
        }));
        if (!_results.empty()) {
            Result result = _results.front();
            _results.pop_front();
            return result;
        }
        if (_lost) {
            throw client::ClientException(*_lost);
        }
        return nullptr;
    }

private:
    static constexpr std::size_t CAPACITY = 64;

    void push(const Result& result)
    {
        if (!result->settings.frame || !result->settings.matchings) {
            return; // sent before the camera knew what we want
        }
        const concurrent::MutexLock lock(_mutex);
        if (_results.size() == CAPACITY) {
            _results.pop_front();
        }
        _results.push_back(result);
        _changed.notifyAll();
    }

    void end(const client::ClientException& reason)
    {
        const concurrent::MutexLock lock(_mutex);
        _lost = reason;
        _changed.notifyAll();
    }

    /// Guards what follows. A leaf.
    concurrent::Mutex _mutex;
    concurrent::Condition _changed;
    std::deque<Result> _results TARVIK_GUARDED_BY(_mutex);
    std::optional<client::ClientException> _lost TARVIK_GUARDED_BY(_mutex);
};

} // namespace tarvik::lab
