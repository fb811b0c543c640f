#pragma once

#include "Target.h"
#include "analysis/Analyzer.h"
#include "breakup/PolygonDivider.h"
#include "chain/Events.h"
#include "core/util/Listener.h"
#include "database/Database.h"
#include "image/Image.h"
#include "io/serialization/BinaryDecoder.h"
#include "io/serialization/BinaryEncoder.h"
#include "io/stream/MemoryOutputStream.h"
#include "protocol/StreamContents.h"

#include <memory>

namespace tarvik::fuzz {

/// The processing chain without a camera. What it publishes must reach a client.
class Chain : private util::Listener<breakup::FrameProcessedEvent>
{
public:
    Chain()
    {
        divider.util::Observable<breakup::ReAnalyzeEvent>::addListener(&analyzer);
        database.util::Observable<database::ComparatorNotificationEvent>::addListener(&analyzer);
        analyzer.addListener(&database);
        database.util::Observable<database::BreakupEvent>::addListener(&divider);
        divider.util::Observable<breakup::FrameProcessedEvent>::addListener(this);
    }

    void process(image::Image& binary)
    {
        const int before = _results;
        camera::ImageEvent event{nullptr, &_noImage, &binary, -1};
        static_cast<util::Listener<camera::ImageEvent>&>(analyzer).onEvent(event);
        require(_results == before + 1, "every image has one result");
    }

    analysis::Analyzer analyzer;
    database::Database database;
    breakup::PolygonDivider divider;

private:
    void onEvent(breakup::FrameProcessedEvent& event) override
    {
        ++_results;
        require(event.frame->objectCount() <= analysis::Frame::MAX_OBJECTS &&
                    event.matchings->count() == event.frame->objectCount(),
                "every object has its matching");
        com::StreamingSettings settings;
        settings.binarizedImage = true;
        settings.frame = true;
        settings.matchings = true;
        io::stream::MemoryOutputStream bytes;
        io::serialization::BinaryEncoder encoder(bytes);
        com::serializeStream(encoder, settings, *event.originalImage, *event.binaryImage,
                             *event.frame, *event.matchings);
        io::stream::MemoryInputStream stream(bytes.bytes());
        io::serialization::BinaryDecoder decoder(stream);
        const auto received = std::make_unique<com::StreamContents>();
        com::StreamContents::serialize(decoder, *received);
        require(received->matchings.count() == event.matchings->count(), "a client sees them all");
    }

    image::Image _noImage;
    int _results = 0;
};

} // namespace tarvik::fuzz
