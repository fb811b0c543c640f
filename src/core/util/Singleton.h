#pragma once

namespace tarvik::util {

/// Gives T one process-wide instance, made on the first call (safe from any thread) and destroyed
/// at process exit in the reverse order of creation.
template <class T>
class Singleton
{
public:
    Singleton(const Singleton&) = delete;
    Singleton& operator=(const Singleton&) = delete;
    virtual ~Singleton() = default;

    [[nodiscard]] static T& instance()
    {
        static T theInstance;
        return theInstance;
    }

protected:
    Singleton() = default;
};

} // namespace tarvik::util
