#pragma once

#include "Json.h"
#include "core/concurrent/Mutex.h"
#include "database/Matchings.h"

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

namespace tarvik::desk {

/// Remembers what was recognised: every image for a while, and per second for longer.
///
/// Threads: any.
class ResultBook
{
public:
    static constexpr std::size_t IMAGES = 3000;
    static constexpr std::size_t SECONDS = 600;

    void add(std::uint64_t image, std::int64_t epochMs, const database::Matchings& matchings);
    void clear();

    /// Counts since the last clear(), and for each of the last seconds how many objects were
    /// recognised as what, and how surely.
    [[nodiscard]] Json json() const;
    /// One line per object of the remembered images, with a heading.
    [[nodiscard]] std::string csv(const std::map<std::int32_t, std::string>& names) const;

private:
    struct Entry
    {
        std::uint64_t image;
        std::int64_t epochMs;
        std::vector<database::Matching> matchings;
    };

    struct Sum
    {
        std::uint64_t count = 0;
        double confidence = 0;
    };

    struct Second
    {
        std::int64_t epoch = 0;
        std::uint64_t images = 0;
        std::map<std::int16_t, Sum> byTemplate;
    };

    /// A leaf.
    mutable concurrent::Mutex _mutex;
    std::deque<Entry> _entries TARVIK_GUARDED_BY(_mutex);
    std::deque<Second> _seconds TARVIK_GUARDED_BY(_mutex);
    std::map<std::int16_t, Sum> _totals TARVIK_GUARDED_BY(_mutex);
    std::uint64_t _images TARVIK_GUARDED_BY(_mutex) = 0;
};

} // namespace tarvik::desk
