#pragma once

#include "configuration/SettingException.h"
#include "teaching/Teaching.h"

#include <string>

/// What the command line says about a part.
namespace tarvik::lab {

/// A text that does not say what it should; the message shows the right form.
class UsageException : public configuration::SettingException
{
public:
    using SettingException::SettingException;
};

/// A picture to teach from, and what is special about its part.
struct PictureLesson
{
    std::string file;
    teaching::Lesson lesson;
};

/// Two numbers, "320,240" or "320x240". Throws UsageException.
[[nodiscard]] teaching::PixelPoint parsePoint(const std::string& text);

/// Reads "[ID:]FILE[,grip=XxY][,height=H][,rotation=DEG]"; what it does not say is taken from the
/// lesson given. A text that names a file as it stands is that file. Throws UsageException.
[[nodiscard]] PictureLesson parsePictureLesson(const std::string& text,
                                               const teaching::Lesson& common);

} // namespace tarvik::lab
