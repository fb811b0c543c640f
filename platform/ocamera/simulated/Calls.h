#pragma once

#include "ocamera/simulated/Faults.h"

#include <concepts>
#include <optional>
#include <string>
#include <type_traits>

/// The simulated camera's side of Faults.h: every operation reports here first.
namespace OCamera::simulated {

/// Counts a call and sits its delay out. What it must return instead of working, if anything.
[[nodiscard]] std::optional<int> countCall(Operation operation);

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
[[nodiscard]] std::optional<int> enterCall(Operation operation, const Arguments&... arguments)
{
    if (recordingCalls()) {
        recordCall(std::string(operationName(operation)) + "(" + list(arguments...) + ")");
    }
    return countCall(operation);
}

} // namespace OCamera::simulated
