#include "Target.h"
#include "io/buffer/CharReader.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

// The line reader: however the bytes arrive, the lines are the same.

namespace tarvik::fuzz {
namespace {

/// Deals the text out in pieces of 1 to `most` bytes.
class Pieces
{
public:
    Pieces(std::string_view text, unsigned most) : _text(text), _most(most) {}

    std::size_t readSome(std::span<std::byte> bytes)
    {
        if (_text.empty()) {
            throw io::IOException("The end.");
        }
        require(!bytes.empty(), "a full buffer asks for nothing");
        _state = _state * 1103515245 + 12345;
        const std::size_t piece = 1 + (_state >> 16U) % _most;
        const std::size_t count = std::min({piece, bytes.size(), _text.size()});
        std::ranges::copy(std::as_bytes(std::span(_text.substr(0, count))), bytes.begin());
        _text.remove_prefix(count);
        return count;
    }

private:
    std::string_view _text;
    unsigned _most;
    std::uint32_t _state = 1;
};

std::vector<std::string> readLines(Pieces pieces)
{
    std::vector<std::string> lines;
    io::buffer::CharReader reader(pieces);
    try {
        for (;;) {
            lines.push_back(reader.readLine());
        }
    } catch (const io::IOException&) {
        return lines;
    }
}

/// The same over the whole text.
std::vector<std::string> splitLines(std::string_view text)
{
    constexpr std::size_t longest = io::buffer::CharReader<Pieces>::MAX_LINE;
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = text.find_first_of("\r\n");
        const bool ends = end != std::string_view::npos;
        if (ends || text.size() > longest) {
            lines.emplace_back(text.substr(0, std::min(end, longest)));
        }
        if (!ends) {
            break;
        }
        text.remove_prefix(text.substr(end).starts_with("\r\n") ? end + 2 : end + 1);
    }
    return lines;
}

} // namespace
} // namespace tarvik::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace tarvik::fuzz;
    if (size == 0) {
        return 0;
    }
    const std::string text(data + 1, data + size);
    const unsigned most = 1U + *data * 8U;
    require(readLines({text, most}) == splitLines(text), "the lines are those of the text");
    return 0;
}
