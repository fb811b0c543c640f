#pragma once

#include "teaching/Teaching.h"

#include <string>

namespace tarvik::lab {

/// One line about what was found and stored.
[[nodiscard]] std::string describe(const teaching::Taught& taught, teaching::PictureSize size);

} // namespace tarvik::lab
