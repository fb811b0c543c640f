#include "ResultTable.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <vector>

namespace tarvik::lab {

using analysis::Object;
using database::Matching;

namespace {

constexpr double RAD_TO_DEG = 180 / std::numbers::pi;
constexpr const char* RESET = "\x1b[0m";
constexpr const char* BOLD = "\x1b[1m";
constexpr const char* DIM = "\x1b[2m";
constexpr std::array<const char*, 6> COLOURS{"\x1b[92m", "\x1b[96m", "\x1b[93m",
                                             "\x1b[95m", "\x1b[94m", "\x1b[91m"};

template <class... Values>
std::string format(const char* pattern, Values... values)
{
    std::array<char, 160> text{};
    std::snprintf(text.data(), text.size(), pattern, values...); // NOLINT: our own patterns
    return text.data();
}

/// How sure the camera is, as a bar of eighths.
std::string bar(double part, int cells)
{
    static constexpr std::array<const char*, 8> EIGHTHS{" ", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
    const int eighths = static_cast<int>(std::lround(std::clamp(part, 0.0, 1.0) * cells * 8));
    std::string text;
    for (int cell = 0; cell < cells; ++cell) {
        const int here = std::clamp(eighths - 8 * cell, 0, 8);
        text += here == 8 ? "█" : EIGHTHS[static_cast<std::size_t>(here)];
    }
    return text;
}

std::string note(const Object& object)
{
    return object.clipped() ? "at the border" : object.cropped() ? "cut apart" : "";
}

struct Row
{
    const Object& object;
    const Matching& matching;

    [[nodiscard]] bool known() const { return matching.templateID != -1; }
};

/// One column of the table.
struct Column
{
    const char* title;
    int width;
    std::string (*cell)(const Row&);
};

const std::vector<Column>& columns()
{
    // In the order in which they are given up from the right when the terminal is narrow.
    static const std::vector<Column> ALL{
        {"TEMPLATE", 8,
         [](const Row& r) {
             return r.known() ? format("%8d", r.matching.templateID) : std::string("       ?");
         }},
        {"X", 8, [](const Row& r) { return format("%8.4f", r.matching.position.re.toDouble()); }},
        {"Y", 8, [](const Row& r) { return format("%8.4f", r.matching.position.im.toDouble()); }},
        {"ROTATION", 9,
         [](const Row& r) {
             return format("%8.1f", r.matching.rotation.toDouble() * RAD_TO_DEG) + "°";
         }},
        {"CONFIDENCE", 14,
         [](const Row& r) {
             const double confidence = r.matching.confidence.toDouble();
             return r.known() ? bar(confidence, 8) + format(" %3.0f %%", confidence * 100)
                              : std::string(14, ' ');
         }},
        {"HOLES", 5, [](const Row& r) { return format("%5d", r.object.innerContourCount()); }},
        {"", 13, [](const Row& r) { return format("%-13s", note(r.object).c_str()); }},
        {"OBJECT", 6, [](const Row& r) { return format("%6d", r.object.id()); }},
    };
    return ALL;
}

std::size_t columnsThatFit(int width)
{
    std::size_t count = 0;
    int used = 0;
    for (const Column& column : columns()) {
        used += column.width + 2;
        if (used > width) {
            break;
        }
        ++count;
    }
    return std::max<std::size_t>(count, 1);
}

std::string cut(const std::string& text, int width)
{
    return text.substr(0, static_cast<std::size_t>(std::max(width, 1)));
}

std::string times(const com::StreamContents& result)
{
    const auto& frame = result.frame;
    return format("analysis %.2f ms   matching %.2f ms   breakup %.2f ms   second pass %.2f ms",
                  static_cast<double>(frame.elapsedTime1stRun()) / 1000,
                  static_cast<double>(result.matchings.elapsedTime()) / 1000,
                  static_cast<double>(frame.possibleCuts().elapsedTime()) / 1000,
                  static_cast<double>(frame.elapsedTime2ndRun()) / 1000);
}

std::vector<Row> rows(const com::StreamContents& result)
{
    std::vector<Row> all;
    const int count = std::min<int>(result.frame.objectCount(), result.matchings.count());
    for (int i = 0; i < count; ++i) {
        all.push_back({result.frame.object(i), result.matchings[i]});
    }
    return all;
}

std::string tableRow(const Row& row, std::size_t count)
{
    const char* colour =
        row.known() ? COLOURS[static_cast<std::uint16_t>(row.matching.templateID) % COLOURS.size()]
                    : DIM;
    std::string text = colour;
    for (std::size_t i = 0; i < count; ++i) {
        text += "  " + columns()[i].cell(row);
    }
    return text + RESET + "\n";
}

std::string titles(std::size_t count)
{
    std::string text = BOLD;
    for (std::size_t i = 0; i < count; ++i) {
        const Column& column = columns()[i];
        text += "  " + (column.width == 14 ? format("%-14s", column.title)
                                           : format("%*s", column.width, column.title));
    }
    return text + RESET + "\n";
}

} // namespace

std::string resultPage(const TableHead& head, const com::StreamContents& result, int width)
{
    const auto all = rows(result);
    const auto known = std::ranges::count_if(all, &Row::known);
    const std::size_t count = columnsThatFit(width);
    std::string page = BOLD + cut(" " + head.camera, width) + RESET + "\n";
    const std::string rate =
        head.live ? format(" %.1f images/s   image %ld  ", head.imagesPerSecond, head.images) : "";
    const std::string objects =
        format(" %d objects, %d recognised", static_cast<int>(all.size()), static_cast<int>(known));
    page += cut(rate + objects, width) + "\n";
    page += DIM + cut(" " + times(result), width) + RESET + "\n\n" + titles(count);
    for (const Row& row : all) {
        page += tableRow(row, count);
    }
    if (!head.live) {
        return page;
    }
    const std::string note = head.note.empty() ? "" : cut(" " + head.note, width) + "\n";
    return page + "\n" + DIM + note + cut(" Ctrl-C ends", width) + RESET + "\n";
}

std::string resultLine(long image, const com::StreamContents& result)
{
    std::string line = format("image %ld: ", image);
    const auto all = rows(result);
    for (const Row& row : all) {
        const Matching& m = row.matching;
        line += &row == all.data() ? "" : "; ";
        line += (row.known() ? std::to_string(m.templateID) : "?") +
                format(" at (%.4f, %.4f) turned %.1f deg", m.position.re.toDouble(),
                       m.position.im.toDouble(), m.rotation.toDouble() * RAD_TO_DEG);
        line += row.known() ? format(", %.0f %%", m.confidence.toDouble() * 100) : "";
        line += note(row.object).empty() ? "" : ", " + note(row.object);
    }
    return all.empty() ? line + "nothing" : line;
}

} // namespace tarvik::lab
