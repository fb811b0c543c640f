#pragma once

#include "ocamera/simulated/Faults.h"

#include <concepts>
#include <string>
#include <type_traits>

/// The simulated camera's side of Faults.h: every operation reports here first.
namespace OCamera::simulated {

/// Counts a call. Returns 0, or the negative error number that a test wants it to fail with.
[[nodiscard]] int countCall(Operation operation);

[[nodiscard]] bool recordingCalls();
void recordCall(std::string call);

inline std::string text(const std::string& literal)
{
    return literal;
}

template <class Number>

requires std::integral<Number> || std::is_enum_v<Number> std::string text(Number number)
{
    return std::to_string(static_cast<long long>(number));
}

/// Arguments separated by commas.
template <class... Arguments>
std::string list(const Arguments&... arguments)
{
    std::string all;
    ((all += (all.empty() ? "" : ", ") + text(arguments)), ...);
    return all;
}

/// Counts and, while calls are recorded, records a call with its arguments.
template <class... Arguments>
[[nodiscard]] int enterCall(Operation operation, const char* name, const Arguments&... arguments)
{
    if (recordingCalls()) {
        recordCall(name + ("(" + list(arguments...) + ")"));
    }
    return countCall(operation);
}

} // namespace OCamera::simulated
