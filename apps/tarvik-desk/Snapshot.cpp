#include "Snapshot.h"

#include "FrameJson.h"

#include <utility>

namespace tarvik::desk {

using concurrent::MutexLock;

namespace {

/// A model change shows in the pictures first.
teaching::PictureSize sizeOf(const com::StreamContents& result, teaching::PictureSize otherwise)
{
    const bool original = result.settings.originalImage && !result.originalImage.empty();
    const bool binary = result.settings.binarizedImage && !result.binaryImage.empty();
    if (!original && !binary) {
        return otherwise;
    }
    const image::Image& picture = original ? result.originalImage : result.binaryImage;
    return {picture.width(), picture.height()};
}

} // namespace

Snapshot::Snapshot(std::uint64_t number, std::int64_t epochMs, teaching::PictureSize size,
                   Result result, Database database)
    : _number(number),
      _epochMs(epochMs),
      _size(sizeOf(*result, size)),
      _result(std::move(result)),
      _database(std::move(database))
{}

bool Snapshot::hasPicture(PictureKind kind) const
{
    return kind == PictureKind::Binary
               ? _result->settings.binarizedImage && !_result->binaryImage.empty()
               : _result->settings.originalImage && !_result->originalImage.empty();
}

const std::string& Snapshot::json() const
{
    const MutexLock lock(_mutex);
    if (_json.empty()) {
        _json = frameJson(*this).dump();
    }
    return _json; // never changes again
}

const std::string& Snapshot::encoded(PictureKind kind) const
{
    const MutexLock lock(_mutex);
    std::string& text = _encoded[static_cast<std::size_t>(kind)];
    if (text.empty()) {
        const image::Image picture = shown(_result->originalImage, _result->binaryImage, kind);
        text = base64(kind == PictureKind::Binary ? encodePng(picture) : encodeJpeg(picture));
    }
    return text; // never changes again
}

} // namespace tarvik::desk
