#pragma once

#include <span>
#include <string_view>

namespace tarvik::desk {

/// A file of the page, inside the program.
struct PageFile
{
    std::string_view path; ///< "/app.js"
    std::string_view contents;
};

/// All of them; made from the folder page/ when the program is built.
[[nodiscard]] std::span<const PageFile> pageFiles();

/// By the ending of the path.
[[nodiscard]] std::string_view contentType(std::string_view path);

} // namespace tarvik::desk
