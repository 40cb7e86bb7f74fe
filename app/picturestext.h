#pragma once

#include <QString>

struct ThumbnailEntry;

// What is said about a recording's moving pictures: to screen readers, and below the path in their tool tip.

namespace quorvale {

/// How many pictures of the recording there are to see; a frame that could not be read is none.
[[nodiscard]] QString picturesText(const ThumbnailEntry &series);

/// Why a recording has no series of pictures. `awaited`: the scan that runs has not come by it yet.
[[nodiscard]] QString noPicturesText(bool awaited);

} // namespace quorvale
