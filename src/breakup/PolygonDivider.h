#pragma once

#include "analysis/Object.h"
#include "breakup/BreakupConfiguration.h"
#include "chain/Events.h"
#include "core/concurrent/Mutex.h"
#include "core/concurrent/Timer.h"
#include "core/logging/Logging.h"
#include "core/serialization/Fields.h"
#include "core/util/Listener.h"
#include "core/util/Observable.h"

#include <cstdint>

namespace tarvik::breakup {

class Part;

/// Cuts unrecognised objects apart at their necks and has the parts analysed and matched in a
/// second pass; then, or at once when breakup is disabled, publishes the result of the image.
///
/// Threads: events on the camera thread; configuration from any thread, taken over from the next
/// image on. Nothing is allocated per image: parts' points lie in the frame's pool.
class PolygonDivider : public util::Observable<ReAnalyzeEvent>,
                       public util::Observable<FrameProcessedEvent>,
                       public util::Listener<database::BreakupEvent>,
                       private logging::Logging
{
public:
    using util::Observable<ReAnalyzeEvent>::addListener;
    using util::Observable<ReAnalyzeEvent>::removeListener;
    using util::Observable<FrameProcessedEvent>::addListener;
    using util::Observable<FrameProcessedEvent>::removeListener;

    PolygonDivider();

    [[nodiscard]] BreakupConfiguration config() const;
    void setConfig(const BreakupConfiguration& config);

    void onEvent(database::BreakupEvent& event) override;

    /// Decoding applies the configuration once it is complete.
    template <class S, class Self>
    static void serialize(S& s, Self& self);

private:
    /// The configuration, and what the search needs of it.
    struct Settings
    {
        BreakupConfiguration config;
        std::uint32_t squaredCutLimit;
    };

    [[nodiscard]] static Settings settingsFor(const BreakupConfiguration& config);
    [[nodiscard]] Settings settings() const;

    void divide(database::BreakupEvent& event, std::uint32_t squaredCutLimit);
    void divideObject(analysis::Frame& frame, int index);
    void breakupPolygon(analysis::Frame& frame, const Part& part);
    bool createObjectFromPart(const Part& part, analysis::Frame& frame);
    void takeInnerContours();

    /// Guards _settings. A leaf, held for a copy.
    mutable concurrent::Mutex _configMutex;
    Settings _settings TARVIK_GUARDED_BY(_configMutex);

    // The division under way, on the camera thread only.
    concurrent::Timer _timer;
    analysis::Object _undivided; ///< view of the object that is being divided
    analysis::Object _newObject; ///< the part that is being written
    int _currentIndex = 0;       ///< of the undivided object
    int _nextIndex = 0;          ///< where the next part goes
};

template <class S, class Self>
void PolygonDivider::serialize(S& s, Self& self)
{
    using io::serialization::field;
    if constexpr (S::isEncoder()) {
        const BreakupConfiguration config = self.config();
        s& field("Configuration", config);
    } else {
        BreakupConfiguration config;
        s& field("Configuration", config);
        self.setConfig(config);
    }
}

} // namespace tarvik::breakup
