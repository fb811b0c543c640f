#include "stress/soak/Score.h"

#include <iostream>

namespace tarvik::soak {

void Score::fail(const std::string& what)
{
    constexpr int MAX_LINES = 50;
    if (++_failures <= MAX_LINES) {
        std::cerr << "FAIL: " + what + "\n" << std::flush;
    }
}

} // namespace tarvik::soak
