#pragma once

#include "ServerOption.h"
#include "teaching/Teaching.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tarvik::lab {

/// What the command line of `teach` says.
struct TeachOptions
{
    ServerOption server; ///< the control connection
    std::uint16_t labPort = 7454;
    std::string file; ///< teach into this configuration file; empty: into a running camera
    teaching::Lesson lesson;
    std::vector<std::string> pictures; ///< see parsePictureLesson()
    bool scale = false;                ///< bring pictures to the camera's size
};

/// Teaches one part from each picture and writes the file, made with the defaults if need be, when
/// all of them could be taught. Reports to standard output. Throws Exception.
void teachFile(const TeachOptions& options);

/// Teaches the part under the sensor, or one part from each picture, to a running camera, with its
/// breakup off meanwhile, and has it stored. Reports to standard output. Throws Exception.
void teachCamera(const TeachOptions& options);

} // namespace tarvik::lab
