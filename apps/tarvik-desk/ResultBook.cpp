#include "ResultBook.h"

#include <algorithm>
#include <cstdio>

namespace tarvik::desk {

using concurrent::MutexLock;
using database::Matching;

namespace {

/// In quotes, and harmless to a spreadsheet, which would read a leading = + - @ as a formula.
std::string cell(const std::string& text)
{
    const bool formula =
        !text.empty() && std::string("=+-@\t\r").find(text.front()) != std::string::npos;
    std::string result = formula ? "\"'" : "\"";
    for (const char c : text) {
        result += c == '"' ? "\"\"" : std::string(1, c);
    }
    return result + '"';
}

} // namespace

void ResultBook::add(std::uint64_t image, std::int64_t epochMs,
                     const database::Matchings& matchings)
{
    const auto found = matchings.matchings();
    Entry entry{image, epochMs, {found.begin(), found.end()}};
    const std::int64_t epoch = epochMs / 1000;
    const MutexLock lock(_mutex);
    if (_seconds.empty() || _seconds.back().epoch != epoch) {
        _seconds.push_back({epoch, 0, {}});
        if (_seconds.size() > SECONDS) {
            _seconds.pop_front();
        }
    }
    ++_images;
    ++_seconds.back().images;
    for (const Matching& m : found) {
        for (Sum* sum : {&_totals[m.templateID], &_seconds.back().byTemplate[m.templateID]}) {
            ++sum->count;
            sum->confidence += m.confidence.toDouble();
        }
    }
    _entries.push_back(std::move(entry));
    if (_entries.size() > IMAGES) {
        _entries.pop_front();
    }
}

void ResultBook::clear()
{
    const MutexLock lock(_mutex);
    _entries.clear();
    _seconds.clear();
    _totals.clear();
    _images = 0;
}

Json ResultBook::json() const
{
    const auto sums = [](const std::map<std::int16_t, Sum>& byTemplate) {
        Json list = Json::array();
        for (const auto& [id, sum] : byTemplate) {
            list.push_back(
                {{"template", id == -1 ? Json() : Json(id)},
                 {"count", sum.count},
                 {"confidence", rounded(sum.confidence / static_cast<double>(sum.count), 4)}});
        }
        return list;
    };
    const MutexLock lock(_mutex);
    Json json{{"images", _images}, {"templates", sums(_totals)}, {"seconds", Json::array()}};
    for (const Second& second : _seconds) {
        json["seconds"].push_back({{"time", second.epoch},
                                   {"images", second.images},
                                   {"templates", sums(second.byTemplate)}});
    }
    return json;
}

std::string ResultBook::csv(const std::map<std::int32_t, std::string>& names) const
{
    std::deque<Entry> entries;
    {
        const MutexLock lock(_mutex);
        entries = _entries;
    }
    std::string text = "image,time_ms,template,name,x,y,rotation_deg,confidence,error\r\n";
    for (const Entry& entry : entries) {
        for (const Matching& m : entry.matchings) {
            const auto name = names.find(m.templateID);
            char line[160];
            std::snprintf(line, sizeof line, "%llu,%lld,%d,",
                          static_cast<unsigned long long>(entry.image),
                          static_cast<long long>(entry.epochMs), m.templateID);
            text += line + (name == names.end() ? "" : cell(name->second));
            std::snprintf(line, sizeof line, ",%.6f,%.6f,%.3f,%.5f,%.6f\r\n",
                          m.position.re.toDouble(), m.position.im.toDouble(),
                          m.rotation.toDouble() * RAD_TO_DEG, m.confidence.toDouble(),
                          m.error.toDouble());
            text += line;
        }
    }
    return text;
}

} // namespace tarvik::desk
