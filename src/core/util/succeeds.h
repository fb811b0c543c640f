#pragma once

namespace tarvik::util {

/// Runs an action that must not end its caller, such as reporting a failure: that takes memory,
/// which may be what has failed. False when it threw.
template <class Action>
[[nodiscard]] bool succeeds(Action action) noexcept
{
    try {
        action();
        return true;
    } catch (...) {
        return false;
    }
}

} // namespace tarvik::util
