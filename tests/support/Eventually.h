#pragma once

#include <chrono>
#include <future>
#include <thread>

namespace tarvik::test {

/// How long a test waits for what must happen. Only a failing test waits that long.
inline constexpr std::chrono::seconds DEADLINE{20};

/// Waits for the condition; false when it does not come true within the deadline.
template <class Condition>
bool eventually(Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + DEADLINE;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

/// Whether the background action ends within the deadline. Its future's destructor would wait
/// without limit, so a test that asserts this one ends the wait by other means afterwards.
template <class T>
bool endsInTime(const std::future<T>& action)
{
    return action.wait_for(DEADLINE) == std::future_status::ready;
}

/// Runs the action on a thread of its own.
template <class Action>
auto inBackground(Action action)
{
    return std::async(std::launch::async, std::move(action));
}

} // namespace tarvik::test
