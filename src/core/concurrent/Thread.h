#pragma once

#include <memory>

namespace tarvik::concurrent {

/// Base of every object that runs a thread of its own.
///
/// A subclass's run() loops while a flag of the subclass is set; its owner clears that flag, wakes
/// it and joins it before destruction: the destructor itself neither stops nor joins.
///
/// Threads: start(), join() and destruction belong to the owner; the queries to anybody.
class Thread
{
public:
    Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    virtual ~Thread();

    /// Runs run() on a new thread; does nothing while the previous one still runs.
    /// Throws Exception when the system refuses another thread.
    virtual void start();

    /// The thread's body. An exception that escapes it ends the thread, not the process.
    virtual void run() = 0;

    /// True from start() until run() has returned.
    [[nodiscard]] bool isRunning() const;
    [[nodiscard]] bool isCurrentThread() const;

    /// Waits without limit for the thread to end; returns at once when it was never started.
    /// Throws Exception "Current thread cannot join itself.".
    void join();

    static void sleep(unsigned int ms);
    static void yield();

private:
    struct ThreadImpl;
    /// Shared with the running thread, which may outlive this object by a few instructions.
    std::shared_ptr<ThreadImpl> _impl;
};

} // namespace tarvik::concurrent
