#include "ocamera/simulated/FaultPipe.h"

#include "ocamera/simulated/NamedPipe.h"
#include "ocamera/simulated/Settings.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <string_view>

namespace OCamera::simulated {

namespace {

constexpr std::size_t MAX_LINE = 256;
constexpr int MAX_DELAY_MS = 60'000;

/// The next word of the line, which loses it; empty at its end.
std::string_view takeWord(std::string_view& line)
{
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    const std::string_view word = line.substr(0, line.find(' '));
    line.remove_prefix(word.size());
    return word;
}

std::optional<int> number(std::string_view word)
{
    int value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc() || end != word.data() + word.size()) {
        return std::nullopt;
    }
    return value;
}

/// None when the line is no fault.
std::optional<Fault> faultOf(std::string_view line)
{
    const std::optional<Operation> operation = operationNamed(takeWord(line));
    const std::optional<int> nth = number(takeWord(line));
    if (!operation || !nth || *nth < 1) {
        return std::nullopt;
    }
    Fault fault{.operation = *operation, .nth = *nth};
    const std::string_view effect = takeWord(line);
    if (effect == "slow") {
        const int delay = number(takeWord(line)).value_or(-1);
        if (delay < 0 || delay > MAX_DELAY_MS) {
            return std::nullopt;
        }
        fault.delay = std::chrono::milliseconds(delay);
    } else if (fault.result = number(effect); !fault.result) {
        return std::nullopt;
    }
    const std::string_view repeat = takeWord(line);
    if (repeat == "always") {
        fault.repeat = Repeat::UntilCleared;
    } else if (!repeat.empty()) {
        return std::nullopt;
    }
    return takeWord(line).empty() ? std::optional(fault) : std::nullopt;
}

} // namespace

FaultPipe::FaultPipe(const std::filesystem::path& path)
    : _pipe(openNamedPipe("OCAMERA_FAULTS", path, "No fault will come."))
{}

FaultPipe::~FaultPipe()
{
    if (_pipe >= 0) {
        close(_pipe);
    }
}

std::vector<FaultPipe::Command> FaultPipe::read()
{
    std::vector<Command> commands;
    std::array<char, 512> buffer{};
    ssize_t count = 0;
    while (_pipe >= 0 && (count = ::read(_pipe, buffer.data(), buffer.size())) > 0) {
        _unread.append(buffer.data(), static_cast<std::size_t>(count));
    }
    std::size_t start = 0;
    for (std::size_t end = 0; (end = _unread.find('\n', start)) != std::string::npos;
         start = end + 1) {
        const std::string line = _unread.substr(start, end - start);
        if (line == "clear") {
            commands.emplace_back();
        } else if (const std::optional<Fault> fault = faultOf(line)) {
            commands.emplace_back(fault);
        } else {
            complain("OCAMERA_FAULTS: '" + line + "' is not accepted. Give OPERATION NTH RESULT, " +
                     "or OPERATION NTH slow MILLISECONDS, with always behind it or not; or clear.");
        }
    }
    _unread.erase(0, start);
    if (_unread.size() > MAX_LINE) {
        _unread.clear();
    }
    return commands;
}

} // namespace OCamera::simulated
