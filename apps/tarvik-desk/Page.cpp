#include "Page.h"

#include <array>
#include <utility>

namespace tarvik::desk {

std::string_view contentType(std::string_view path)
{
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 4> TYPES{{
        {".html", "text/html; charset=utf-8"},
        {".css", "text/css; charset=utf-8"},
        {".js", "application/javascript; charset=utf-8"},
        {".svg", "image/svg+xml"},
    }};
    for (const auto& [ending, type] : TYPES) {
        if (path.ends_with(ending)) {
            return type;
        }
    }
    return "application/octet-stream";
}

} // namespace tarvik::desk
