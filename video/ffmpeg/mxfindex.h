#pragma once

#include "video/ffmpeg/claimwatch.h"

namespace quorvale::ffmpeg {

/// The sets of MXF, and its index table segments: FFmpeg makes an index of as many entries as one claims to describe.
extern const ClaimWatch::Structures kMxfIndexTables;

} // namespace quorvale::ffmpeg
