#pragma once

#include <atomic>

namespace tarvik::util {

template <class E>
class Observable;

/// Receives events of type E on the publisher's thread.
template <class E>
class Listener
{
public:
    Listener() = default;
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    virtual ~Listener() = default;

    /// The event is valid during the call only.
    virtual void onEvent(E& event) = 0;

    /// How many times this listener is registered, over all observables.
    [[nodiscard]] int registrationCount() const { return _registrations; }

private:
    friend class Observable<E>;
    std::atomic<int> _registrations{0};
};

} // namespace tarvik::util
