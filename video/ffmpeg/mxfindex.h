#pragma once

#include "video/ffmpeg/claimwatch.h"

namespace quorvale::ffmpeg {

/// The index table segments of MXF. FFmpeg makes an index of as many entries as one claims to describe.
extern const ClaimWatch::Structures kMxfIndexTables;

} // namespace quorvale::ffmpeg
