#include "core/concurrent/Thread.h"

#include "core/Exception.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <system_error>
#include <thread>

namespace tarvik::concurrent {

struct Thread::ThreadImpl
{
    std::atomic<bool> running{false};
    std::atomic<std::thread::id> id{};
    /// Guards `thread` against two joins at once. Never held by the thread itself.
    std::mutex joinMutex;
    std::thread thread;

    static void runThread(Thread* owner, const std::shared_ptr<ThreadImpl>& impl)
    {
        impl->id = std::this_thread::get_id();
        try {
            owner->run();
        } catch (const std::exception& e) {
            std::fprintf(stderr, "A thread ended by an unexpected failure: %s\n", e.what());
        } catch (...) {
            std::fprintf(stderr, "A thread ended by an unexpected failure.\n");
        }
        impl->running = false;
    }
};

Thread::Thread() : _impl(std::make_shared<ThreadImpl>()) {}

Thread::~Thread()
{
    if (_impl->thread.joinable()) {
        _impl->thread.detach();
    }
}

void Thread::start()
{
    if (_impl->running.exchange(true)) {
        return;
    }
    const std::scoped_lock lock(_impl->joinMutex);
    if (_impl->thread.joinable()) {
        _impl->thread.join(); // its run() has returned: the running flag was clear
    }
    _impl->id = std::thread::id(); // the previous one's may have been given to another thread
    try {
        _impl->thread = std::thread([this, impl = _impl] { ThreadImpl::runThread(this, impl); });
    } catch (const std::system_error& e) {
        _impl->running = false;
        throw Exception(std::string("Couldn't start a thread. Details: ") + e.what());
    }
}

bool Thread::isRunning() const
{
    return _impl->running;
}

bool Thread::isCurrentThread() const
{
    return _impl->running && _impl->id.load() == std::this_thread::get_id();
}

void Thread::join()
{
    if (isCurrentThread()) {
        throw Exception("Current thread cannot join itself.");
    }
    const std::scoped_lock lock(_impl->joinMutex);
    if (_impl->thread.joinable()) {
        _impl->thread.join();
    }
}

void Thread::sleep(unsigned int ms)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

void Thread::yield()
{
    std::this_thread::yield();
}

} // namespace tarvik::concurrent
