#pragma once

#include "teaching/Teaching.h"

#include <string>
#include <vector>

namespace tarvik::lab {

/// What the command line of `teach` says.
struct TeachOptions
{
    std::string file; ///< teach into this configuration file; empty: into a running camera
    teaching::Lesson lesson;
    std::vector<std::string> pictures; ///< see parsePictureLesson()
    bool scale = false;                ///< bring pictures to the camera's size
};

/// Teaches one part from each picture and writes the file, made with the defaults if need be, when
/// all of them could be taught. Reports to standard output. Throws Exception.
void teachFile(const TeachOptions& options);

} // namespace tarvik::lab
