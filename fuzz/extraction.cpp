#include "Picture.h"
#include "Target.h"
#include "analysis/ContourProperties.h"
#include "analysis/ReferenceExtractor.h"
#include "analysis/extraction/chaincode/SoftwarePolygonExtractor.h"

#include <algorithm>
#include <array>
#include <span>
#include <vector>

// Packing, tracing and reduction of arbitrary pictures and regions: the extractor agrees to the
// bit with the plain one of the tests.

namespace tarvik::fuzz {
namespace {

using analysis::extraction::chaincode::SoftwarePolygonExtractor;
using Point = Complex<16, 14>;

class Comparison
{
public:
    explicit Comparison(Input& input) : _input(input) {}

    void run()
    {
        analysis::ROI roi;
        roi.x = _input.word(); // as they would be without the constructor's normalisation
        roi.y = _input.word();
        roi.width = _input.word();
        roi.height = _input.word();
        const fp<16, 15> maxError(_input.word());
        for (std::uint8_t& way : _ways) {
            way = _input.byte();
        }
        image::Image picture = takePicture(_input);
        image::Image same = picture;
        _extractor.begin(picture, roi, maxError);
        if (picture.width() >= 2 && picture.height() >= 2) {
            _reference.begin(same, roi, maxError.raw());
            require(std::ranges::equal(picture.bytes(), same.bytes()), "the same frame is cleared");
            while (_reference.hasNext()) {
                require(_extractor.hasNext(), "no contour is missed");
                require(_extractor.innerContour() == _reference.inner(), "holes are holes");
                takeOne(_ways[_contours++ % _ways.size()]);
            }
        }
        require(!_extractor.hasNext(), "no contour is invented");
        _extractor.end();
    }

private:
    void takeOne(unsigned way)
    {
        switch (way % 4) {
        case 0:
            _reference.skip();
            require(_extractor.skipPolygon(), "a contour can be skipped");
            break;
        case 1:
            compareMeasures();
            break;
        case 2:
            comparePoints(1 + way / 4 % 8);
            break;
        default:
            comparePoints(_points.size());
        }
    }

    void compareMeasures()
    {
        const test::ReferenceExtractor::Measure expected = _reference.measure();
        Point centre;
        fp<32, 15> length;
        require(_extractor.nextPolygon(&centre, &length), "a contour can be measured");
        require(centre == expected.centre && length.raw() == expected.length, "the same measures");
    }

    void comparePoints(std::size_t capacity)
    {
        const std::vector<Point> expected = _reference.nextPolygon(static_cast<int>(capacity));
        const std::span<Point> room = std::span(_points).first(capacity);
        int count = 0;
        require(_extractor.nextPolygon(room, count), "a contour can be reduced");
        require(std::ranges::equal(room.first(static_cast<std::size_t>(count)), expected),
                "the same points");
    }

    Input& _input;
    std::array<std::uint8_t, 4> _ways{}; ///< what is done with one contour after the other
    std::size_t _contours = 0;
    test::ReferenceExtractor _reference;
    SoftwarePolygonExtractor _extractor;
    std::array<Point, 1024> _points{};
};

} // namespace
} // namespace tarvik::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    tarvik::fuzz::Input input(data, size);
    tarvik::fuzz::Comparison(input).run();
    return 0;
}
