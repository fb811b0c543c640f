#pragma once

#include "core/concurrent/Mutex.h"
#include "core/concurrent/Thread.h"
#include "core/concurrent/WakeUp.h"
#include "core/logging/Logging.h"
#include "core/util/Event.h"
#include "core/util/Listener.h"
#include "core/util/Observable.h"
#include "core/util/Singleton.h"

#include <atomic>

namespace tarvik::com {

/// The process-wide tick by which others check their connections and timers: it calls its listeners
/// once right after it is made and then every two seconds. It probes nothing itself.
///
/// Threads: listeners run on the tester's own thread. A failure of one is logged (log "Server") and
/// ends the round; the next tick comes as usual.
class ConnectionTester final : public util::Singleton<ConnectionTester>,
                               public util::Observable<util::Event<ConnectionTester>>,
                               public concurrent::Thread,
                               private logging::Logging
{
public:
    using Tick = util::Event<ConnectionTester>;

    static constexpr int PERIOD_MS = 2000;

    /// Starts the tick. Throws Exception when the system refuses a thread.
    explicit ConnectionTester(int periodMs = PERIOD_MS);
    /// Ends the tick at once; waits for a listener that is being called.
    ~ConnectionTester() override;

    void run() override;

    /// Removes the listener and waits until no call of it is under way, so that it may be
    /// destroyed. The caller must hold nothing that a listener may wait for.
    void dismiss(util::Listener<Tick>* listener);

private:
    void tick();

    const int _periodMs;
    std::atomic<bool> _running{true};
    concurrent::WakeUp _stop;
    /// Held while the listeners are called. Before every lock that a listener takes.
    concurrent::Mutex _roundMutex;
};

} // namespace tarvik::com
