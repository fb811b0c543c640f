#include "PictureShow.h"

#include "PictureFile.h"

#include <string_view>

namespace tarvik::lab {

using client::ClientException;

namespace {

constexpr std::string_view WANTS_COLOUR = "grayscale images with a color camera";

} // namespace

client::LabClient::Result PictureShow::analyze(const image::Image& picture,
                                               std::chrono::milliseconds timeout)
{
    if (!_colour) {
        try {
            return _camera.analyze(toGrey(picture), timeout);
        } catch (const ClientException& e) {
            if (std::string_view(e.what()).find(WANTS_COLOUR) == std::string_view::npos) {
                throw;
            }
            _colour = true;
        }
    }
    return _camera.analyze(toHsv(picture), timeout);
}

image::Image PictureShow::fitted(const image::Image& picture) const
{
    const auto& size = _camera.greeting();
    return scaled(picture, static_cast<std::uint16_t>(size.width),
                  static_cast<std::uint16_t>(size.height));
}

} // namespace tarvik::lab
