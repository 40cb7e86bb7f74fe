#pragma once

#include <QString>

struct ThumbnailEntry;

// What is said about a recording's moving pictures: to screen readers, and below the path in their tool tip.

namespace quorvale {

/// Whether the latest scan is one that goes, or went, by this recording.
enum class PicturesTurn { ThisScan, NoScan };

/// How many pictures of the recording there are to see; a frame that could not be read is none.
[[nodiscard]] QString picturesText(const ThumbnailEntry &series);

/// Why a recording has no series of pictures.
[[nodiscard]] QString noPicturesText(PicturesTurn turn, bool scanRuns);

} // namespace quorvale
