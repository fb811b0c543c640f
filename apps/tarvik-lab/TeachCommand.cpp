#include "Commands.h"
#include "ExitCode.h"
#include "LessonText.h"
#include "TeachOptions.h"
#include "client/ControlClient.h"

#include <CLI/CLI.hpp>
#include <memory>

namespace tarvik::lab {

namespace {

constexpr const char* TEACH_FOOTER = R"(
A picture shows one part alone, in the size of the camera's pictures:
  FILE                                  the options below apply
  ID:FILE,grip=XxY,height=H,rotation=D  all but FILE may be left out

Examples:
  tarvik-lab teach --id 1
      the part that lies under the sensor now becomes template 1 of the running camera
  tarvik-lab teach 1:bolt.png 2:nut.png
      the same from pictures
  tarvik-lab teach --file config.xml 1:bolt.png 2:nut.png,grip=331x240
      makes or extends a configuration file without a camera
  tarvik-lab teach --file config.xml --id 10 --replace parts/*.png
      templates 10, 11, 12 ... from one picture each)";

void addLessonOptions(CLI::App& command, TeachOptions& options)
{
    command.add_option("--id", options.lesson.id,
                       "Number by which results name the part; counts up from picture to picture. "
                       "Without it the next free one");
    command.add_flag("--replace", options.lesson.replace,
                     "Take the place of a template of this id");
    command
        .add_option_function<std::string>(
            "--grip",
            [&options](const std::string& text) { options.lesson.grip = parsePoint(text); },
            "The point of the picture, in pixels, that results report as the part's position. "
            "Without it the centre of its outline")
        ->type_name("X,Y");
    command.add_option("--height", options.lesson.height,
                       "Height of the part, passed on to whoever reads the template");
    command
        .add_option("--rotation", options.lesson.rotationDeg,
                    "Added to every rotation that is reported for the part")
        ->type_name("DEG");
}

} // namespace

void addTeachCommand(CLI::App& app, int& exitCode)
{
    auto options = std::make_shared<TeachOptions>();
    CLI::App* const command =
        app.add_subcommand("teach", "Teach the camera, or a configuration file, new parts");
    command->footer(TEACH_FOOTER);
    options->server.addTo(*command, client::ControlClient::PORT);
    command->add_option("--lab-port", options->labPort, "The camera's TCP port for pictures")
        ->capture_default_str();
    command
        ->add_option("--file", options->file,
                     "Teach into this configuration file, not into a running camera")
        ->type_name("CONFIG.XML");
    addLessonOptions(*command, *options);
    command->add_flag("--scale", options->scale, "Bring pictures to the camera's size");
    command
        ->add_option("PICTURES", options->pictures,
                     "Pictures of one part each; without one, the part under the sensor")
        ->type_name("");
    command->callback([options, &exitCode] {
        if (options->file.empty()) {
            teachCamera(*options);
        } else if (options->pictures.empty()) {
            throw UsageException("teach --file needs at least one picture.");
        } else {
            teachFile(*options);
        }
        exitCode = DONE;
    });
}

} // namespace tarvik::lab
