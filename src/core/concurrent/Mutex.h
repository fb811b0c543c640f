#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

// Clang checks with -Wthread-safety that guarded members are touched under their lock only; other
// compilers read past these words.
#if defined(__clang__)
#define TARVIK_ATTRIBUTE(x) __attribute__((x)) // NOLINT(cppcoreguidelines-macro-usage)
#else
#define TARVIK_ATTRIBUTE(x) // NOLINT(cppcoreguidelines-macro-usage)
#endif
// NOLINTBEGIN(cppcoreguidelines-macro-usage): attributes have no other spelling
#define TARVIK_GUARDED_BY(mutex) TARVIK_ATTRIBUTE(guarded_by(mutex))
#define TARVIK_PT_GUARDED_BY(mutex) TARVIK_ATTRIBUTE(pt_guarded_by(mutex))
#define TARVIK_REQUIRES(mutex) TARVIK_ATTRIBUTE(requires_capability(mutex))
#define TARVIK_NO_THREAD_SAFETY_ANALYSIS TARVIK_ATTRIBUTE(no_thread_safety_analysis)

// NOLINTEND(cppcoreguidelines-macro-usage)

namespace tarvik::concurrent {

/// A recursive mutex: its owner may lock it again, and releases it after as many unlocks.
/// Take it with MutexLock.
class TARVIK_ATTRIBUTE(capability("mutex")) Mutex
{
public:
    void lock() TARVIK_ATTRIBUTE(acquire_capability()) { _mutex.lock(); }

    bool tryLock() TARVIK_ATTRIBUTE(try_acquire_capability(true)) { return _mutex.try_lock(); }

    void unlock() TARVIK_ATTRIBUTE(release_capability()) { _mutex.unlock(); }

private:
    std::recursive_mutex _mutex;
};

/// Holds a Mutex for a scope.
class TARVIK_ATTRIBUTE(scoped_lockable) MutexLock
{
public:
    explicit MutexLock(Mutex& mutex) TARVIK_ATTRIBUTE(acquire_capability(mutex)) : _mutex(mutex)
    {
        _mutex.lock();
    }

    ~MutexLock() TARVIK_ATTRIBUTE(release_capability()) { _mutex.unlock(); }

    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    Mutex& _mutex;
};

/// Lets threads wait under a Mutex, locked exactly once, until another one notifies.
class Condition
{
public:
    /// Waits until the predicate, read under the mutex, holds.
    template <class Predicate>
    void wait(Mutex& mutex, Predicate predicate) TARVIK_REQUIRES(mutex)
    {
        _condition.wait(mutex, predicate);
    }

    /// As wait(), but at most this long; false when the predicate still does not hold then.
    template <class Predicate>
    bool waitFor(Mutex& mutex, std::chrono::milliseconds limit, Predicate predicate)
        TARVIK_REQUIRES(mutex)
    {
        return _condition.wait_for(mutex, limit, predicate);
    }

    void notifyAll() { _condition.notify_all(); }

private:
    std::condition_variable_any _condition;
};

} // namespace tarvik::concurrent
