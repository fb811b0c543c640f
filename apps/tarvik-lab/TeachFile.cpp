#include "LessonText.h"
#include "PictureFile.h"
#include "TeachOptions.h"
#include "TeachReport.h"
#include "configuration/ConfigurationFile.h"
#include "teaching/PictureAnalysis.h"

#include <filesystem>
#include <iostream>

namespace tarvik::lab {

using configuration::SystemConfiguration;
using image::Image;
using teaching::PictureAnalysis;
using teaching::PictureSize;
using teaching::TeachingException;

namespace {

std::string sizeText(int width, int height)
{
    return std::to_string(width) + " x " + std::to_string(height);
}

/// The picture in the size and kind that the camera model takes.
Image pictureFor(const PictureAnalysis& camera, const std::string& model, const std::string& file,
                 bool scale)
{
    Image picture = readPicture(file);
    if (picture.width() != camera.width() || picture.height() != camera.height()) {
        if (!scale) {
            throw TeachingException("The picture is " +
                                    sizeText(picture.width(), picture.height()) +
                                    " pixels, but camera model '" + model + "' takes " +
                                    sizeText(camera.width(), camera.height()) +
                                    ". Use --scale, or another camera.Implementation.");
        }
        picture = scaled(picture, static_cast<std::uint16_t>(camera.width()),
                         static_cast<std::uint16_t>(camera.height()));
    }
    return camera.isColored() ? toHsv(picture) : toGrey(picture);
}

void teachPicture(SystemConfiguration& configuration, PictureAnalysis& camera,
                  const PictureLesson& picture, bool scale)
{
    const std::string& model = configuration.camera.config.implementation()->name();
    try {
        Image image = pictureFor(camera, model, picture.file, scale);
        const PictureSize size{camera.width(), camera.height()};
        const auto taught =
            teaching::teach(configuration.database, camera.analyze(image), picture.lesson, size);
        std::cout << picture.file << ": " << describe(taught, size) << '\n';
    } catch (const TeachingException& e) {
        throw TeachingException(picture.file + ": " + e.what());
    }
}

} // namespace

void teachFile(const TeachOptions& options)
{
    const bool isNew = !std::filesystem::exists(options.file);
    SystemConfiguration configuration = configuration::loadOrDefault(options.file);
    PictureAnalysis camera(configuration.camera.config, configuration.analyzer.config);
    teaching::Lesson lesson = options.lesson;
    for (const std::string& text : options.pictures) {
        teachPicture(configuration, camera, parsePictureLesson(text, lesson), options.scale);
        if (lesson.id) {
            ++*lesson.id; // --id counts up from picture to picture
        }
    }
    configuration::save(configuration, options.file);
    std::cout << options.file << (isNew ? ": made, with " : ": saved, with ")
              << configuration.database.numTemplates() << " templates\n";
}

} // namespace tarvik::lab
