#pragma once

#include <string>

namespace tarvik {

/// A program version and its printable form, "1.7.0 Build 20111227" for the current one.
class Version
{
public:
    Version(int major, int minor, int patch, int build);

    /// The version of this program, which every network endpoint announces to its peer.
    [[nodiscard]] static const Version& current();

    [[nodiscard]] const std::string& versionStr() const { return _versionStr; }

    [[nodiscard]] int majorNum() const { return _majorNum; }

    [[nodiscard]] int minorNum() const { return _minorNum; }

    [[nodiscard]] int patchNum() const { return _patchNum; }

    [[nodiscard]] int buildNum() const { return _buildNum; }

private:
    std::string _versionStr;
    int _majorNum;
    int _minorNum;
    int _patchNum;
    int _buildNum;
};

} // namespace tarvik
