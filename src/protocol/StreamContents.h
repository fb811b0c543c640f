#pragma once

#include "analysis/Frame.h"
#include "core/serialization/Fields.h"
#include "database/Matchings.h"
#include "image/Image.h"
#include "protocol/StreamingSettings.h"

namespace tarvik::com {

/// Names the parts of a streamed result in their order on the wire. The flags come first, so that
/// the receiver knows what follows.
template <class S, class Settings, class Image, class Frame, class Matchings>
void serializeStream(S& s, Settings& settings, Image& originalImage, Image& binaryImage,
                     Frame& frame, Matchings& matchings)
{
    using io::serialization::field;
    s& field("Streaming", settings);
    if (settings.originalImage) {
        s& field("OriginalImage", originalImage);
    }
    if (settings.binarizedImage) {
        s& field("BinaryImage", binaryImage);
    }
    if (settings.frame) {
        s& field("Frame", frame);
    }
    if (settings.matchings) {
        s& field("Matchings", matchings);
    }
}

/// The results of one image as a client receives them; parts that it did not ask for keep what
/// they held.
struct StreamContents
{
    StreamingSettings settings;
    image::Image originalImage;
    image::Image binaryImage;
    analysis::Frame frame;
    database::Matchings matchings;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        serializeStream(s, self.settings, self.originalImage, self.binaryImage, self.frame,
                        self.matchings);
    }
};

} // namespace tarvik::com
