#include "soak/Loads.h"

#include <cstdio>
#include <string>

namespace tarvik::soak {

using client::ClientException;

void LabLoad::run()
{
    constexpr int PICTURES_PER_CONNECTION = 200;
    auto number = static_cast<PictureNumber>(_stage.lastPicture);
    while (_stage.score.goesOn()) {
        const Clock::time_point start = Clock::now();
        try {
            if (_lab == nullptr) {
                connect();
            }
            show(++number);
            if (number % PICTURES_PER_CONNECTION == 0) {
                _lab.reset();
            }
        } catch (const ClientException& e) {
            _stage.score.failUnlessDisturbed(start, std::string("test client: ") + e.what());
            if (e.kind() != ClientException::Kind::ImageRefused) {
                _lab.reset();
            }
        }
    }
    _lab.reset();
}

void LabLoad::connect()
{
    _lab = std::make_unique<client::LabClient>(_stage.server.address(), client::LabClient::PORT,
                                               timeouts(_stage.score));
    patiently(_stage.score, [this] { _lab->connect(); });
    _lab->setStreaming({true, true, true, true});
    ++_stage.score.reconnects;
}

void LabLoad::show(PictureNumber number)
{
    const std::string& model = _stage.model.load()->name(); // "R1C (640x480)"
    unsigned width = 0;
    unsigned height = 0;
    std::sscanf(model.c_str() + model.find('(') + 1, "%ux%u", &width, &height);
    const bool coloured = model.find("C (") != std::string::npos;
    _stage.lastPicture = number;
    const auto result = _lab->analyze(numberedPicture(number, static_cast<std::uint16_t>(width),
                                                      static_cast<std::uint16_t>(height), coloured),
                                      _stage.score.limit(std::chrono::seconds(2)));
    check(number, *result);
}

void LabLoad::check(PictureNumber number, const com::StreamContents& result)
{
    const image::Image& binary = result.binaryImage;
    const auto matches = [&](std::optional<PictureNumber> found) { return found == number; };
    const bool own = matches(numberOf(binary)) && matches(numberOf(result.originalImage)) &&
                     matches(numberOf(result.frame, binary.width(), binary.height()));
    if (!own || result.matchings.count() != result.frame.objectCount()) {
        _stage.score.fail("the result of picture " + std::to_string(number) +
                          " is not its own; in the binary image: " +
                          std::to_string(numberOf(binary).value_or(-1)) +
                          ", objects: " + std::to_string(result.frame.objectCount()));
        return;
    }
    ++_stage.score.numberedImages;
}

} // namespace tarvik::soak
