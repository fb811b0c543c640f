#pragma once

#include <exception>
#include <string>

namespace tarvik::test {

/// The text of the exception that the action throws; "(nothing thrown)" otherwise. For comparing
/// messages literally. An exception of another family passes through.
template <class E, class Action>
std::string thrown(Action action)
{
    try {
        action();
    } catch (const E& e) {
        return e.what();
    }
    return "(nothing thrown)";
}

} // namespace tarvik::test
