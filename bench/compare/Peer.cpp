#include "compare/Peer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <opencv2/imgproc.hpp>

namespace tarvik::bench {

namespace {

constexpr std::size_t MAX_OUTLINES = 25;
constexpr std::size_t MAX_TEMPLATES = 32;

/// The limits of our own default configuration, in units of half the picture's width.
constexpr double MIN_LENGTH = 1550.0 / 32768;
constexpr double MAX_LENGTH = 60000.0 / 32768;
constexpr double MAX_DEVIATION = 0.0055;

/// Storage stays with the entries from picture to picture.
template <class T>
T& next(std::vector<T>& entries, std::size_t& count)
{
    if (count == entries.size()) {
        entries.emplace_back();
    }
    return entries[count++];
}

} // namespace

Peer::Peer(Method method) : _method(method == Method::LinkedRuns ? 5 : cv::CHAIN_APPROX_SIMPLE)
{
    cv::setNumThreads(1);
}

void Peer::teach(const std::vector<Picture>& pictures)
{
    for (const Picture& picture : pictures) {
        findPolygons(picture.grey);
        for (std::size_t i = 0; i < _outlineCount && _templates.size() < 2 * MAX_TEMPLATES; ++i) {
            const Lanes straight = describe(_outlines[i].points, picture.grey.width());
            Lanes turned = straight; // by pi, started opposite: even frequencies change sign
            for (std::size_t k = 0; k < 4 * FREQUENCIES; ++k) {
                if (k / 2 % FREQUENCIES % 2 == 1) {
                    turned.values[k] = static_cast<std::int16_t>(-turned.values[k]);
                }
            }
            _templates.push_back(straight);
            _templates.push_back(turned);
        }
    }
}

/// Linked runs come without a hierarchy: holes run the other way round.
bool Peer::isHole(std::size_t contour) const
{
    return _method == cv::CHAIN_APPROX_SIMPLE ? _hierarchy[contour][3] >= 0
                                              : cv::contourArea(_contours[contour], true) < 0;
}

int Peer::ownerOf(std::size_t hole) const
{
    if (_method == cv::CHAIN_APPROX_SIMPLE) {
        return _hierarchy[hole][3];
    }
    const cv::Point inside = _contours[hole].front();
    for (std::size_t i = 0; i < _outlineCount; ++i) {
        // The reduced outline has few points, unlike the contour itself.
        if (_outlines[i].box.contains(inside) &&
            cv::pointPolygonTest(_outlines[i].points, inside, false) >= 0) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

int Peer::findPolygons(const image::Image& grey)
{
    const cv::Mat picture(grey.height(), grey.width(), CV_8UC1,
                          const_cast<std::uint8_t*>(grey.data())); // read only
    cv::threshold(picture, _binary, 127, 255, cv::THRESH_BINARY);
    cv::findContours(_binary, _contours, _hierarchy, cv::RETR_CCOMP, _method);
    const double unit = grey.width() / 2.0;
    _outlineCount = 0;
    _holeCount = 0;
    for (std::size_t i = 0; i < _contours.size(); ++i) {
        const auto& contour = _contours[i];
        if (contour.size() < 3) {
            continue;
        }
        const double length = cv::arcLength(contour, true);
        if (length < MIN_LENGTH * unit || length > MAX_LENGTH * unit) {
            continue;
        }
        const bool hole = isHole(i);
        if (!hole && _outlineCount == MAX_OUTLINES) {
            continue;
        }
        Outline& outline = hole ? next(_holes, _holeCount) : next(_outlines, _outlineCount);
        cv::approxPolyDP(contour, outline.points, MAX_DEVIATION * unit, true);
        outline.contour = static_cast<int>(i);
        outline.box = cv::boundingRect(outline.points);
        outline.owner = hole ? ownerOf(i) : -1;
    }
    return static_cast<int>(_outlineCount);
}

int Peer::recognize(const image::Image& grey)
{
    findPolygons(grey);
    int recognized = 0;
    for (std::size_t i = 0; i < _outlineCount; ++i) {
        squaredDifferences(describe(_outlines[i].points, grey.width()), _templates, _errors);
        const auto end = _errors.begin() + static_cast<std::ptrdiff_t>(_templates.size());
        recognized += *std::min_element(_errors.begin(), end) < 10737418 ? 1 : 0;
    }
    return recognized;
}

/// Coefficients of the piecewise linear outline, each times (2 pi n)^2 / T.
Peer::Coefficients Peer::transform(const std::vector<cv::Point>& points)
{
    const std::size_t count = points.size();
    const auto segment = [&](std::size_t i) {
        const cv::Point d = points[(i + 1) % count] - points[i];
        return std::complex<double>(d.x, d.y);
    };
    double total = 0;
    for (std::size_t i = 0; i < count; ++i) {
        total += std::sqrt(std::norm(segment(i)));
    }
    Coefficients sums{};
    std::array<std::complex<double>, FREQUENCIES> before;
    before.fill(1);
    double s = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::complex<double> d = segment(i);
        const double length = std::sqrt(std::norm(d));
        if (length == 0) {
            continue;
        }
        s += length;
        const double angle = -2 * std::numbers::pi * s / total;
        const double c = std::cos(angle);
        const double si = std::sin(angle);
        const double ux = d.real() / length;
        const double uy = d.imag() / length;
        double re = 1;
        double im = 0;
        for (std::size_t n = 0; n < FREQUENCIES; ++n) {
            const double nextRe = re * c - im * si;
            im = re * si + im * c;
            re = nextRe;
            const double dr = re - before[n].real();
            const double di = im - before[n].imag();
            before[n] = {re, im};
            sums[n] += std::complex<double>(ux * dr - uy * di, ux * di + uy * dr);
            sums[n + FREQUENCIES] += std::complex<double>(ux * dr + uy * di, uy * dr - ux * di);
        }
    }
    for (std::size_t n = 0; n < FREQUENCIES; ++n) {
        const double f = 2 * std::numbers::pi * static_cast<double>(n + 1);
        sums[n] *= total / (f * f);
        sums[n + FREQUENCIES] *= total / (f * f);
    }
    return sums;
}

/// Independent of orientation and starting point.
void Peer::normalize(Coefficients& c)
{
    const double plus = std::arg(c[0]);
    const double minus = std::arg(c[FREQUENCIES]);
    const double rotation = (plus + minus) / 2;
    const std::complex<double> turn = std::polar(1.0, -rotation);
    const std::complex<double> shift = std::polar(1.0, -(plus - rotation));
    std::complex<double> power = 1;
    for (std::size_t n = 0; n < FREQUENCIES; ++n) {
        const double re = power.real() * shift.real() - power.imag() * shift.imag();
        const double im = power.real() * shift.imag() + power.imag() * shift.real();
        power = {re, im};
        const auto times = [](std::complex<double> a, double x, double y) {
            return std::complex<double>(a.real() * x - a.imag() * y, a.real() * y + a.imag() * x);
        };
        const auto forward = times(turn, re, im);
        const auto backward = times(turn, re, -im);
        c[n] = times(c[n], forward.real(), forward.imag());
        c[n + FREQUENCIES] = times(c[n + FREQUENCIES], backward.real(), backward.imag());
    }
}

Lanes Peer::describe(const std::vector<cv::Point>& points, int width)
{
    Coefficients c = transform(points);
    normalize(c);
    const double scale = 32768 * 2.0 / width;
    Lanes lanes;
    for (std::size_t i = 0; i < c.size(); ++i) {
        lanes.values[2 * i] = static_cast<std::int16_t>(c[i].real() * scale);
        lanes.values[2 * i + 1] = static_cast<std::int16_t>(c[i].imag() * scale);
    }
    return lanes;
}

} // namespace tarvik::bench
