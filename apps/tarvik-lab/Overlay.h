#pragma once

#include "image/Image.h"
#include "protocol/StreamContents.h"

namespace tarvik::lab {

/// The picture at twice its size with the result drawn in: outlines and holes, in a colour for each
/// template; its number, or "?" for what was not recognised; the reported position with an arrow
/// along the reported rotation; cuts. Grey outlines are clipped. Positions are drawn where an
/// identity transform puts them.
[[nodiscard]] image::Image overlay(const image::Image& picture, const com::StreamContents& result);

} // namespace tarvik::lab
