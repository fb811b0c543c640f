#include "compare/Own.h"

#include "analysis/ContourProperties.h"
#include "image/ByteWindow.h"
#include "io/serialization/BinaryDecoder.h"
#include "io/serialization/BinaryEncoder.h"
#include "io/stream/MemoryInputStream.h"
#include "io/stream/MemoryOutputStream.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>

namespace tarvik::bench {

namespace {

const analysis::AnalyzerConfiguration DEFAULTS;
constexpr image::ByteWindow WINDOW = image::ByteWindow::interval(128, 255);

template <class T>
std::vector<std::byte> encoded(const T& value)
{
    io::stream::MemoryOutputStream out;
    io::serialization::BinaryEncoder<io::stream::MemoryOutputStream> encoder(out);
    encoder& io::serialization::field("", value);
    return {out.bytes().begin(), out.bytes().end()};
}

/// The full database: its last template comes by decoding only.
database::DatabaseState withTemplates(std::span<const database::Template> templates)
{
    std::vector<std::byte> bytes = encoded(database::DatabaseState());
    bytes.at(bytes.size() - 4) = static_cast<std::byte>(templates.size()); // TemplateCount
    for (const database::Template& t : templates) {
        const auto more = encoded(t);
        bytes.insert(bytes.end(), more.begin(), more.end());
    }
    io::stream::MemoryInputStream in(bytes);
    io::serialization::BinaryDecoder<io::stream::MemoryInputStream> decoder(in);
    database::DatabaseState state;
    decoder& io::serialization::field("", state);
    return state;
}

} // namespace

Own::Own()
{
    _analyzer.addListener(&_database);
    _database.util::Observable<database::ComparatorNotificationEvent>::addListener(&_analyzer);
    _database.util::Observable<database::BreakupEvent>::addListener(this);
}

Own::~Own()
{
    _database.util::Observable<database::BreakupEvent>::removeListener(this);
    _database.util::Observable<database::ComparatorNotificationEvent>::removeListener(&_analyzer);
    _analyzer.removeListener(&_database);
}

void Own::teach(const std::vector<Picture>& pictures)
{
    std::vector<database::Template> templates;
    for (const Picture& picture : pictures) {
        recognize(picture.grey);
        for (const analysis::Object& object : std::as_const(*_result.frame).objects()) {
            if (templates.size() < database::DatabaseState::MAX_TEMPLATES) {
                templates.emplace_back(static_cast<int>(templates.size()), object);
            }
        }
    }
    _database.setState(withTemplates(templates));
}

void Own::useComparator(const std::string& name)
{
    database::DatabaseConfiguration config = _database.config();
    config.setComparatorImpl(database::ComparatorFactory::instance().find(name.c_str()));
    _database.setConfig(config);
}

void Own::threshold(const image::Image& grey)
{
    _binary.binarize(grey, WINDOW);
}

void Own::pack()
{
    _packed.load(_binary);
}

int Own::recognize(const image::Image& grey)
{
    threshold(grey);
    camera::ImageEvent event{nullptr, &grey, &_binary, -1};
    static_cast<util::Listener<camera::ImageEvent>&>(_analyzer).onEvent(event);
    return _result.frame->objectCount();
}

int Own::recognized() const
{
    const auto all = _result.matchings->matchings();
    return static_cast<int>(
        std::ranges::count_if(all, [](const auto& m) { return m.templateID >= 0; }));
}

void Own::compare()
{
    analysis::FrameEvent event{.frame = _result.frame};
    static_cast<util::Listener<analysis::FrameEvent>&>(_database).onEvent(event);
}

void Own::takeOutline()
{
    analysis::Object& object = _frame.object(_frame.objectCount());
    object.reset();
    int count = 0;
    _extractor.nextPolygon(_frame.freePoints(), count);
    object.polygon().setPoints(_frame.freePoints().first(static_cast<std::size_t>(count)), false);
    const auto length = object.polygon().length();
    if (length >= DEFAULTS.minPolygonSize && length <= DEFAULTS.maxPolygonSize &&
        _frame.findObject(object.polygon().position()) == nullptr) {
        _frame.usePoints(count);
        _frame.setObjectCount(_frame.objectCount() + 1);
    }
}

void Own::takeHole()
{
    int count = 0;
    _extractor.nextPolygon(_frame.freePoints(), count);
    const auto points = _frame.freePoints().first(static_cast<std::size_t>(count));
    const analysis::ContourProperties hole(points);
    if (hole.length() < DEFAULTS.minPolygonSize || hole.length() > DEFAULTS.maxPolygonSize) {
        return;
    }
    analysis::Object* const owner = _frame.findObject(hole.centre());
    analysis::InnerContour* const contour = owner == nullptr ? nullptr : owner->addInnerContour();
    if (contour != nullptr) {
        _frame.usePoints(count);
        contour->polygon.setPoints(points, false);
        contour->polygon.move(-owner->polygon().position());
    }
}

int Own::findPolygons(const image::Image& grey)
{
    threshold(grey);
    _frame.beginImage();
    _extractor.setMinLength(DEFAULTS.minPolygonSize);
    _extractor.begin(_binary, {}, DEFAULTS.maxPolygonError);
    while (_extractor.hasNext() && _frame.freePoints().size() > 1) {
        if (_extractor.innerContour()) {
            takeHole();
        } else if (_frame.objectCount() < analysis::Frame::MAX_OBJECTS) {
            takeOutline();
        } else {
            _extractor.skipPolygon();
        }
    }
    _extractor.end();
    return _frame.objectCount();
}

} // namespace tarvik::bench
