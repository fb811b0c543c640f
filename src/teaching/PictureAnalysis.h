#pragma once

#include "analysis/Analyzer.h"
#include "analysis/AnalyzerConfiguration.h"
#include "camera/CameraConfiguration.h"
#include "camera/CameraFactory.h"
#include "chain/Events.h"
#include "core/util/Listener.h"
#include "image/Image.h"

#include <memory>

namespace tarvik::teaching {

/// Analyses single pictures as the running system would: the configured model's driver binarizes
/// them, the analyzer extracts and describes. Nothing is matched or broken up.
///
/// Threads: one at a time per object.
class PictureAnalysis : private util::Listener<analysis::FrameEvent>
{
public:
    /// Opens the camera model. Throws CameraException.
    PictureAnalysis(const camera::CameraConfiguration& camera,
                    const analysis::AnalyzerConfiguration& analyzer);
    ~PictureAnalysis() override;

    /// What pictures must be.
    [[nodiscard]] int width() const;
    [[nodiscard]] int height() const;
    /// Planes of hue, saturation and value instead of grey.
    [[nodiscard]] bool isColored() const;

    /// The objects of the picture; valid until the next call.
    /// Throws CameraException for a picture that does not fit the model.
    const analysis::Frame& analyze(image::Image& picture);

private:
    void onEvent(analysis::FrameEvent& event) override { _frame = event.frame; }

    std::unique_ptr<camera::CameraImpl, camera::DriverDeleter> _driver;
    analysis::Analyzer _analyzer;
    const analysis::Frame* _frame = nullptr; ///< the analyzer's
};

} // namespace tarvik::teaching
