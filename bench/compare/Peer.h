#pragma once

#include "compare/Limits.h"
#include "compare/Pictures.h"

#include <array>
#include <complex>
#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

namespace tarvik::bench {

/// The same job done with OpenCV, on one thread, as its best users write it: buffers are kept from
/// picture to picture, contours are filtered before anything is computed of them, harmonics come
/// from one sine and cosine per vertex, and templates are compared as 16-bit vectors.
class Peer
{
public:
    /// Its two ways of finding contours.
    enum class Method
    {
        BorderFollowing, ///< Suzuki and Abe, CHAIN_APPROX_SIMPLE
        LinkedRuns,      ///< LINK_RUNS
    };

    explicit Peer(Method method);

    /// Makes templates of the first 32 outlines of the pictures.
    void teach(const std::vector<Picture>& pictures);

    /// Grey picture to reduced polygons, holes with their owners; the number of outlines.
    int findPolygons(const image::Image& grey);
    /// Grey picture to the best template of each of at most 25 outlines; their number.
    int recognize(const image::Image& grey);

private:
    static constexpr int FREQUENCIES = 7;
    /// Of frequencies 1 ... 7, then -1 ... -7.
    using Coefficients = std::array<std::complex<double>, 2 * FREQUENCIES>;

    struct Outline
    {
        std::vector<cv::Point> points;
        cv::Rect box;
        int contour = -1; ///< index in _contours
        int owner = -1;   ///< of a hole: index in _outlines, or in _contours by _hierarchy
    };

    [[nodiscard]] bool isHole(std::size_t contour) const;
    [[nodiscard]] int ownerOf(std::size_t hole) const;

    [[nodiscard]] static Coefficients transform(const std::vector<cv::Point>& points);
    static void normalize(Coefficients& c);
    [[nodiscard]] static Lanes describe(const std::vector<cv::Point>& points, int width);

    int _method;
    cv::Mat _binary;
    std::vector<std::vector<cv::Point>> _contours;
    std::vector<cv::Vec4i> _hierarchy;
    std::vector<Outline> _outlines; ///< the first _outlineCount are valid
    std::vector<Outline> _holes;    ///< the first _holeCount are valid
    std::size_t _outlineCount = 0;
    std::size_t _holeCount = 0;
    std::vector<Lanes> _templates; ///< two for each: as taught, and turned by pi
    std::array<std::int32_t, 64> _errors{};
};

} // namespace tarvik::bench
