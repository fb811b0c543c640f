#pragma once

#include "core/util/Listener.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <mutex>

namespace tarvik::util {

/// Publishes events of type E to at most 32 listeners, one after the other, on the caller's thread.
///
/// Threads: listeners may come and go while another thread notifies. No lock is held during a
/// listener's call, so a listener may (un)register itself or others. A notification that has
/// already picked a listener may still call it once after removeListener() has returned; whoever
/// destroys a listener stops the publisher's thread first.
template <class E>
class Observable
{
public:
    static constexpr std::size_t CAPACITY = 32;

    Observable() = default;
    Observable(const Observable&) = delete;
    Observable& operator=(const Observable&) = delete;

    /// False, and nothing changes, when 32 listeners are registered. Adding one twice calls it
    /// twice.
    bool addListener(Listener<E>* listener)
    {
        const std::scoped_lock lock(_listMutex);
        if (_count == CAPACITY) {
            return false;
        }
        _listeners[_count++] = listener;
        ++listener->_registrations;
        return true;
    }

    /// Removes the first registration of the listener; false when there is none.
    bool removeListener(Listener<E>* listener) const
    {
        const std::scoped_lock lock(_listMutex);
        const auto end = _listeners.begin() + static_cast<std::ptrdiff_t>(_count);
        const auto found = std::find(_listeners.begin(), end, listener);
        if (found == end) {
            return false;
        }
        std::move(found + 1, end, found);
        --_count;
        --listener->_registrations;
        return true;
    }

    [[nodiscard]] std::size_t listenerCount() const
    {
        const std::scoped_lock lock(_listMutex);
        return _count;
    }

protected:
    ~Observable() = default;

    /// Calls every listener in the order of registration.
    void notify(E& event) const
    {
        for (std::size_t i = 0;; ++i) {
            Listener<E>* const listener = at(i);
            if (listener == nullptr) {
                return;
            }
            listener->onEvent(event);
        }
    }

private:
    [[nodiscard]] Listener<E>* at(std::size_t index) const
    {
        const std::scoped_lock lock(_listMutex);
        return index < _count ? _listeners[index] : nullptr;
    }

    /// Guards the list. A leaf: nothing else is locked while it is held.
    mutable std::mutex _listMutex;
    mutable std::array<Listener<E>*, CAPACITY> _listeners{};
    mutable std::size_t _count = 0;
};

} // namespace tarvik::util
