#include "soak/Score.h"

#include <iostream>

namespace tarvik::soak {

void Score::fail(const std::string& what)
{
    constexpr int MAX_LINES = 50;
    if (++_failures <= MAX_LINES) {
        const auto age = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - _start);
        std::cerr << "FAIL after " + std::to_string(age.count()) + " s: " + what + "\n"
                  << std::flush;
    }
}

} // namespace tarvik::soak
