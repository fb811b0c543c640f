#pragma once

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace tarvik::test {

/// What a process holds of the system, as /proc tells it.
struct ProcessUse
{
    std::size_t residentKB = 0; ///< memory of its own: without what it shares with files
    std::size_t threads = 0;
    std::size_t descriptors = 0;
    std::size_t peakKB = 0; ///< the most that was ever resident

    [[nodiscard]] static ProcessUse of(const std::string& process = "self")
    {
        const std::string folder = "/proc/" + process;
        ProcessUse use;
        std::ifstream status(folder + "/status");
        for (std::string word; status >> word;) {
            if (word == "RssAnon:") {
                status >> use.residentKB;
            } else if (word == "VmHWM:") {
                status >> use.peakKB;
            } else if (word == "Threads:") {
                status >> use.threads;
            }
        }
        use.descriptors = static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(folder + "/fd"),
                          std::filesystem::directory_iterator()));
        return use;
    }
};

} // namespace tarvik::test
