#pragma once

#include <cstdint>

/// Every event of the processing chain, in the order in which they travel.
///
///     Camera --ImageEvent--> Analyzer --FrameEvent--> Database --BreakupEvent--> PolygonDivider
///                               ^                        |                         |       |
///                               +--ComparatorNotification+                         |       |
///                               +------------------ReAnalyzeEvent------------------+       |
///     Server, TelnetServer, TarvikLabServer <-----------FrameProcessedEvent----------------+
///
/// All of it runs synchronously on the camera thread: an event is a local record of its publisher,
/// and what it points to stays the publisher's and is valid during the notification only. Images,
/// frame and source id of the ImageEvent pass through every later event unchanged.
namespace tarvik {

namespace image {
class Image;
}

namespace camera {

class Camera;

/// One acquired image.
struct ImageEvent
{
    Camera* source = nullptr;
    /// Grey or colour picture; an empty image when the model delivers only the binary one.
    const image::Image* originalImage = nullptr;
    /// One byte per pixel, 0 background. The extraction clears the frame of its region in it.
    image::Image* binaryImage = nullptr;
    /// -1 for the sensor, 0 to 63 for a test image in its place.
    std::int8_t sourceId = -1;
};

} // namespace camera

namespace analysis {

class Analyzer;
class Frame;

/// One analysed image: objects with their holes and descriptors. Comes twice for one image when
/// breakup is enabled.
struct FrameEvent
{
    Analyzer* source = nullptr;
    const image::Image* originalImage = nullptr;
    image::Image* binaryImage = nullptr;
    Frame* frame = nullptr;
    std::int8_t sourceId = -1;
};

} // namespace analysis

namespace database {

class Database;
class Matchings;

/// One matched frame: one matching for each of its objects.
struct BreakupEvent
{
    Database* source = nullptr;
    const image::Image* originalImage = nullptr;
    image::Image* binaryImage = nullptr;
    analysis::Frame* frame = nullptr;
    const Matchings* matchings = nullptr;
    std::int8_t sourceId = -1;
};

/// The database has another comparator; on the thread that changed it.
struct ComparatorNotificationEvent
{
    Database* source = nullptr;
    /// The new one looks at inner contours.
    bool advanced = false;
};

} // namespace database

namespace breakup {

class PolygonDivider;

/// A frame whose cropped objects want describing and matching.
struct ReAnalyzeEvent
{
    PolygonDivider* source = nullptr;
    const image::Image* originalImage = nullptr;
    image::Image* binaryImage = nullptr;
    analysis::Frame* frame = nullptr;
    std::int8_t sourceId = -1;
};

/// The final result of one image.
struct FrameProcessedEvent
{
    PolygonDivider* source = nullptr;
    const image::Image* originalImage = nullptr;
    const image::Image* binaryImage = nullptr;
    const analysis::Frame* frame = nullptr;
    const database::Matchings* matchings = nullptr;
    std::int8_t sourceId = -1;
};

} // namespace breakup

} // namespace tarvik
