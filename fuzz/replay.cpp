#include "Target.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

// Runs a target over stored inputs, for compilers without libFuzzer.

namespace {

namespace fs = std::filesystem;

void run(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> content{std::istreambuf_iterator<char>(stream), {}};
    // A buffer of exactly this size, so that reading past the input is seen.
    const std::vector<std::uint8_t> input(content.begin(), content.end());
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

std::vector<fs::path> filesIn(const fs::path& place)
{
    if (!fs::is_directory(place)) {
        return {place};
    }
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(place)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path());
        }
    }
    std::ranges::sort(files);
    return files;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        std::size_t count = 0;
        for (const char* const place : std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
            for (const fs::path& file : filesIn(place)) {
                run(file);
                ++count;
            }
        }
        std::printf("%zu inputs\n", count);
        return count > 0 ? 0 : 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}
