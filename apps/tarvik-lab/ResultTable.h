#pragma once

#include "protocol/StreamContents.h"

#include <string>

/// Results for people: a page of a terminal, or a line of text.
namespace tarvik::lab {

/// What stands above the table.
struct TableHead
{
    std::string camera; ///< where it is and what it says of itself
    bool live = false;  ///< followed by more; else the rest of this is not shown
    std::string note;   ///< below the table
    long images = 0;    ///< received so far
    double imagesPerSecond = 0;
};

/// A page of at most `width` columns: head, one row per object, times of the stages.
[[nodiscard]] std::string resultPage(const TableHead& head, const com::StreamContents& result,
                                     int width);

/// "image 12: 7 at (0.1234, -0.2345) turned 31.2 deg, 98 %; ? at (...)".
[[nodiscard]] std::string resultLine(long image, const com::StreamContents& result);

} // namespace tarvik::lab
