#pragma once

#include "chain/Events.h"
#include "core/util/Observable.h"
#include "database/Matchings.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>

namespace tarvik::test {

/// A matching with raw fixed-point values.
inline database::Matching matching(std::int16_t id, std::int32_t x = 0, std::int32_t y = 0,
                                   std::int32_t rotation = 0)
{
    database::Matching result;
    result.templateID = id;
    result.position = Complex<32, 21>::fromRaw(x, y);
    result.rotation = fp<32, 15>(rotation);
    return result;
}

inline database::Matchings matchings(std::initializer_list<database::Matching> list)
{
    database::Matchings result;
    result.setCount(static_cast<std::int16_t>(list.size()));
    std::ranges::copy(list, result.matchings().begin());
    return result;
}

/// Publishes results in the processing chain's place.
class Results : public util::Observable<breakup::FrameProcessedEvent>
{
public:
    void publish(const database::Matchings& result)
    {
        breakup::FrameProcessedEvent event;
        event.matchings = &result;
        notify(event);
    }
};

} // namespace tarvik::test
