#include "LessonText.h"
#include "PictureFile.h"
#include "PictureShow.h"
#include "ResultQueue.h"
#include "TeachOptions.h"
#include "TeachReport.h"
#include "client/ControlClient.h"
#include "client/LabClient.h"

#include <iostream>

namespace tarvik::lab {

using breakup::BreakupConfiguration;
using client::ControlClient;
using client::LabClient;
using teaching::PictureSize;

namespace {

constexpr std::chrono::seconds PATIENCE{10};

/// A part is taught whole: no breakup while this lives.
class NoBreakup
{
public:
    explicit NoBreakup(ControlClient& camera) : _camera(camera), _before(camera.breakupConfig())
    {
        BreakupConfiguration off = _before;
        off.setBreakupEnabled(false);
        _camera.setBreakupConfig(off);
        static_cast<void>(_camera.breakupConfig()); // it has been taken over when this is answered
    }

    ~NoBreakup()
    {
        try {
            _camera.setBreakupConfig(_before);
            static_cast<void>(_camera.breakupConfig());
        } catch (const Exception&) {
            // The connection has gone; whoever lost it has said so.
        }
    }

    NoBreakup(const NoBreakup&) = delete;
    NoBreakup& operator=(const NoBreakup&) = delete;

private:
    ControlClient& _camera;
    BreakupConfiguration _before;
};

ResultQueue::Result nextFrame(ResultQueue& results)
{
    const auto end = std::chrono::steady_clock::now() + PATIENCE;
    while (std::chrono::steady_clock::now() < end) {
        if (const auto result = results.take(PATIENCE)) {
            return result;
        }
    }
    throw Exception("The camera takes no images. Is it waiting for an external trigger? Ask it: "
                    "tarvik-lab config get camera.TriggerMode");
}

/// What lies under the sensor once it has seen an image of its own and without breakup.
ResultQueue::Result frameUnderSensor(ControlClient& camera, ResultQueue& results)
{
    constexpr int IMAGES_UNDER_WAY = 2;
    camera.setStreaming({.frame = true, .matchings = true});
    for (int i = 0; i < IMAGES_UNDER_WAY; ++i) {
        static_cast<void>(nextFrame(results));
    }
    return nextFrame(results);
}

void teachOne(ControlClient& camera, const analysis::Frame& frame, const teaching::Lesson& lesson,
              const std::string& from)
{
    const PictureSize size{camera.greeting().width, camera.greeting().height};
    database::DatabaseState database = camera.database();
    const auto taught = teaching::teach(database, frame, lesson, size);
    camera.setDatabase(database);
    if (camera.database().findTemplateById(taught.part->id) == nullptr) {
        throw Exception("The camera did not keep the template. See: tarvik-lab log");
    }
    std::cout << from << ": " << lab::describe(taught, size) << '\n';
}

void teachPictures(ControlClient& camera, const TeachOptions& options)
{
    LabClient viewer(options.server.host, options.labPort);
    viewer.connect();
    PictureShow show(viewer);
    teaching::Lesson common = options.lesson;
    for (const std::string& text : options.pictures) {
        const PictureLesson picture = parsePictureLesson(text, common);
        image::Image image = readPicture(picture.file);
        if (options.scale) {
            image = show.fitted(image);
        }
        const auto result = show.analyze(image, PATIENCE);
        teachOne(camera, result->frame, picture.lesson, picture.file);
        if (common.id) {
            ++*common.id;
        }
    }
    viewer.useSensor();
}

} // namespace

void teachCamera(const TeachOptions& options)
{
    ResultQueue results;
    ControlClient camera(options.server.host, options.server.port);
    results.listenTo(camera);
    camera.connect();
    {
        const NoBreakup whole(camera);
        if (options.pictures.empty()) {
            teachOne(camera, frameUnderSensor(camera, results)->frame, options.lesson, "sensor");
        } else {
            teachPictures(camera, options);
        }
    }
    camera.sync();
    std::cout << "stored in the camera, with " << camera.database().numTemplates()
              << " templates\n";
}

} // namespace tarvik::lab
