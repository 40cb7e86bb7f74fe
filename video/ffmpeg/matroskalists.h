#pragma once

#include "video/ffmpeg/claimwatch.h"

namespace quorvale::ffmpeg {

/// The lists of Matroska: tracks, attachments, chapters, tags, titles, and the tables of places. FFmpeg keeps a
/// structure for each entry, and two copies of its content; an empty entry is two bytes.
extern const ClaimWatch::Structures kMatroskaLists;

} // namespace quorvale::ffmpeg
