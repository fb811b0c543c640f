#include "core/Version.h"

namespace tarvik {

Version::Version(int major, int minor, int patch, int build)
    : _versionStr(std::to_string(major) + "." + std::to_string(minor) + "." +
                  std::to_string(patch) + " Build " + std::to_string(build)),
      _majorNum(major),
      _minorNum(minor),
      _patchNum(patch),
      _buildNum(build)
{}

const Version& Version::current()
{
    static const Version version(1, 7, 0, 20111227);
    return version;
}

} // namespace tarvik
