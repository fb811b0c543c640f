#pragma once

#include "analysis/Analyzer.h"
#include "breakup/PolygonDivider.h"
#include "chain/Events.h"
#include "core/util/Listener.h"
#include "database/Database.h"
#include "image/BinaryImage.h"
#include "image/Image.h"
#include "math/fp.h"
#include "ocamera/simulated/Scene.h"

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <vector>

namespace tarvik::test {

namespace simulated = OCamera::simulated;

/// The whole processing chain over pictures of the synthetic scene, without a camera around it.
class SceneChain : private util::Listener<breakup::FrameProcessedEvent>
{
public:
    using Result = breakup::FrameProcessedEvent;

    /// The neck between touching parts is shorter: 9.6 pixels of 640.
    static constexpr double MAX_CUT_LENGTH = 0.03;
    /// Edges along the pixel grid would lie.
    static constexpr std::uint16_t TEACHING_ANGLE = 65536 / 12;

    SceneChain(int width, int height)
        : _grey(static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height)),
          _binary(static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height))
    {
        auto config = analyzer.config();
        config.maxPolygonError = maxPolygonErrorFor(width);
        analyzer.setConfig(config);
        divider.util::Observable<breakup::ReAnalyzeEvent>::addListener(&analyzer);
        database.util::Observable<database::ComparatorNotificationEvent>::addListener(&analyzer);
        analyzer.addListener(&database);
        database.util::Observable<database::BreakupEvent>::addListener(&divider);
        divider.util::Observable<breakup::FrameProcessedEvent>::addListener(this);
    }

    /// Teaches every kind but the one that the scene wants rejected; template 10 + kind reports the
    /// rotation of the part.
    void teachAll(simulated::Scene& scene)
    {
        for (const simulated::Kind kind : simulated::KINDS) {
            if (kind == simulated::Kind::Shard) {
                continue;
            }
            scene.greyPartAlone(kind, TEACHING_ANGLE, _grey.width(), _grey.height(), _grey.bytes());
            const Result result = process();
            if (result.frame->objectCount() != 1) {
                throw std::runtime_error("a part alone is not one object");
            }
            database::Template taught(templateOf(kind), result.frame->object(0));
            taught.rotation =
                fp<32, 15>(fp<32, 15>::PI2.raw() / 12) - taught.fourierDescriptor().rotation();
            database.addTemplate(taught);
        }
    }

    void enableBreakup()
    {
        breakup::BreakupConfiguration config;
        config.setBreakupEnabled(true);
        config.setMaxCutLength(fp<32, 30>::fromDouble(MAX_CUT_LENGTH));
        divider.setConfig(config);
    }

    /// Vertices survive from just over one pixel off the chord on. That is small enough for
    /// rotations within 2 degrees, and yet the steps of one pixel along an edge vanish: crowded
    /// near a neck they would attract cuts that are in the way of the right one. A pixel is
    /// 32768 / width raw units of fp<16, 14>, and a step is rounded up at times.
    [[nodiscard]] static fp<16, 15> maxPolygonErrorFor(int width)
    {
        const int step = (32768 + width - 1) / width;
        return fp<16, 15>(static_cast<std::int16_t>(2 * step * step));
    }

    [[nodiscard]] static int templateOf(simulated::Kind kind)
    {
        return 10 + static_cast<int>(kind);
    }

    /// Valid until the next picture.
    Result process(simulated::Scene& scene, std::uint32_t frame)
    {
        if (throughColourSensor) {
            drawIntensity(scene, frame);
        } else {
            scene.grey(frame, _grey.width(), _grey.height(), _grey.bytes());
        }
        return process();
    }

    /// The picture in grey() goes through the chain.
    Result process()
    {
        _binary.binarize(_grey, image::ByteWindow::interval(128, 255));
        return processBinary();
    }

    /// The picture in binary() goes through the chain.
    Result processBinary()
    {
        camera::ImageEvent event{nullptr, &_grey, &_binary, -1};
        static_cast<util::Listener<camera::ImageEvent>&>(analyzer).onEvent(event);
        return _result;
    }

    [[nodiscard]] image::Image& grey() { return _grey; }

    [[nodiscard]] image::Image& binary() { return _binary; }

    analysis::Analyzer analyzer;
    database::Database database;
    breakup::PolygonDivider divider;
    /// Pictures are the intensity of the colour scene, as the default camera model sees it.
    bool throughColourSensor = false;

private:
    void drawIntensity(simulated::Scene& scene, std::uint32_t frame)
    {
        _rgb.resize(3 * _grey.pixelCount());
        scene.rgb(frame, _grey.width(), _grey.height(), _rgb);
        for (std::size_t i = 0; i < _grey.pixelCount(); ++i) {
            const int sum = _rgb[3 * i] + 2 * _rgb[3 * i + 1] + _rgb[3 * i + 2];
            _grey.bytes()[i] = static_cast<std::uint8_t>((sum + 2) / 4);
        }
    }

    void onEvent(breakup::FrameProcessedEvent& event) override { _result = event; }

    std::vector<std::uint8_t> _rgb;
    image::Image _grey;
    image::BinaryImage _binary;
    Result _result;
};

} // namespace tarvik::test
