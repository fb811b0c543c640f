#include "server/ConnectionTester.h"

#include "core/util/succeeds.h"

#include <exception>
#include <string>

namespace tarvik::com {

using logging::LogLevel;

ConnectionTester::ConnectionTester(int periodMs) : Logging("Server"), _periodMs(periodMs)
{
    start();
}

ConnectionTester::~ConnectionTester()
{
    _running = false;
    _stop.set();
    join();
}

void ConnectionTester::run()
{
    while (_running) {
        static_cast<void>(util::succeeds([this] { tick(); }));
        static_cast<void>(_stop.wait(_periodMs));
    }
}

void ConnectionTester::dismiss(util::Listener<Tick>* listener)
{
    removeListener(listener);
    const concurrent::MutexLock lock(_roundMutex);
}

void ConnectionTester::tick()
{
    const concurrent::MutexLock lock(_roundMutex);
    Tick event{this};
    try {
        notify(event);
    } catch (const std::exception& e) {
        logFailure(LogLevel::Warning, "A periodic check failed. ", e);
    }
}

} // namespace tarvik::com
