#pragma once

namespace tarvik::util {

/// An event that carries nothing but its publisher.
template <class T>
struct Event
{
    T* source = nullptr;
};

} // namespace tarvik::util
