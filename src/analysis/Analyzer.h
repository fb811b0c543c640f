#pragma once

#include "analysis/AnalyzerConfiguration.h"
#include "analysis/Frame.h"
#include "chain/Events.h"
#include "core/concurrent/Mutex.h"
#include "core/concurrent/Timer.h"
#include "core/logging/Logging.h"
#include "core/serialization/Fields.h"
#include "core/util/Listener.h"
#include "core/util/Observable.h"

namespace tarvik::image {
class Image;
}

namespace tarvik::analysis {

/// Turns every binary image into a frame of described objects, and describes the parts that the
/// breakup stage has cut out of them.
///
/// Threads: events of images arrive on the camera thread, and so do the breakup stage's, nested in
/// this stage's own notification. Configuration from any thread: it waits for the extraction of one
/// image at most and applies from the next one.
class Analyzer : public util::Observable<FrameEvent>,
                 public util::Listener<camera::ImageEvent>,
                 public util::Listener<breakup::ReAnalyzeEvent>,
                 public util::Listener<database::ComparatorNotificationEvent>,
                 private logging::Logging
{
public:
    Analyzer();
    ~Analyzer() override;

    [[nodiscard]] AnalyzerConfiguration config() const;
    void setConfig(const AnalyzerConfiguration& config);

    /// First pass: extraction, description and identities of one image.
    void onEvent(camera::ImageEvent& event) override;
    /// Second pass: description of the parts of a frame that was broken up.
    void onEvent(breakup::ReAnalyzeEvent& event) override;
    /// Holes are extracted only while the comparator looks at them.
    void onEvent(database::ComparatorNotificationEvent& event) override;

    /// Decoding applies the configuration once it is complete.
    template <class S, class Self>
    static void serialize(S& s, Self& self);

private:
    class Extraction;

    void analyze(image::Image& image) TARVIK_REQUIRES(_configMutex);
    void describeParts(Frame& frame, const image::Image& image) const;

    /// Held from the first pass until its notification returns, so that a second image waits.
    /// Lock order: _frameMutex, then _configMutex.
    concurrent::Mutex _frameMutex;
    Frame _frame;

    /// Guards configuration and extractor; held during the extraction, not during the notification.
    mutable concurrent::Mutex _configMutex;
    AnalyzerConfiguration _config TARVIK_GUARDED_BY(_configMutex);
    extraction::PolygonExtractor* _extractor TARVIK_GUARDED_BY(_configMutex);
    bool _extractInnerContours TARVIK_GUARDED_BY(_configMutex) = true;

    concurrent::Timer _timer; ///< camera thread only
};

template <class S, class Self>
void Analyzer::serialize(S& s, Self& self)
{
    using io::serialization::field;
    if constexpr (S::isEncoder()) {
        const AnalyzerConfiguration config = self.config();
        s& field("Configuration", config);
    } else {
        AnalyzerConfiguration config;
        s& field("Configuration", config);
        self.setConfig(config);
    }
}

} // namespace tarvik::analysis
