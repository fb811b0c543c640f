#include "LessonText.h"

#include <charconv>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

namespace tarvik::lab {

namespace {

template <class Number>
std::optional<Number> number(std::string_view text)
{
    Number value{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

double required(std::string_view what, std::string_view text)
{
    if (const auto value = number<double>(text)) {
        return *value;
    }
    throw UsageException("'" + std::string(text) + "' is no number for " + std::string(what) +
                         "; write it like " + std::string(what) + "=12.5.");
}

/// Takes one option off the end of the text; false when none of the known ones stands there.
bool takeOption(std::string& text, teaching::Lesson& lesson)
{
    const auto comma = text.rfind(',');
    const auto equals = text.find('=', comma == std::string::npos ? text.size() : comma);
    if (equals == std::string::npos) {
        return false;
    }
    const std::string name = text.substr(comma + 1, equals - comma - 1);
    const std::string value = text.substr(equals + 1);
    if (name == "grip") {
        lesson.grip = parsePoint(value);
    } else if (name == "height") {
        lesson.height = required(name, value);
    } else if (name == "rotation") {
        lesson.rotationDeg = required(name, value);
    } else {
        throw UsageException("Unknown option '" + name +
                             "' behind a picture; there are grip=XxY, height=H and rotation=DEG.");
    }
    text.erase(comma);
    return true;
}

void takeId(std::string& text, teaching::Lesson& lesson)
{
    const auto colon = text.find(':');
    if (colon == std::string::npos) {
        return;
    }
    if (const auto id = number<std::int32_t>(std::string_view(text).substr(0, colon))) {
        lesson.id = id;
        text.erase(0, colon + 1);
    }
}

} // namespace

teaching::PixelPoint parsePoint(const std::string& text)
{
    const auto separator = text.find_first_of(",x");
    if (separator != std::string::npos) {
        const auto x = number<double>(std::string_view(text).substr(0, separator));
        const auto y = number<double>(std::string_view(text).substr(separator + 1));
        if (x && y) {
            return {*x, *y};
        }
    }
    throw UsageException("'" + text + "' is no point; write its pixels like 320,240 or 320x240.");
}

PictureLesson parsePictureLesson(const std::string& text, const teaching::Lesson& common)
{
    PictureLesson result{text, common};
    std::error_code error;
    if (std::filesystem::exists(text, error)) {
        return result;
    }
    takeId(result.file, result.lesson);
    while (!std::filesystem::exists(result.file, error) && takeOption(result.file, result.lesson)) {
    }
    return result;
}

} // namespace tarvik::lab
