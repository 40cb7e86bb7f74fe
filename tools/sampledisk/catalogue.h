#pragma once

#include "tools/sampledisk/indexwriter.h"

#include <vector>

namespace quorvale {

/// What a recording's stream is like; see encodeRecording() for the details.
enum class RecordingKind {
    HighDefinition,      ///< H.264, 1440x1080, interlaced, AC-3
    ShortHighDefinition, ///< H.264, 1920x1080, interlaced, AC-3; shorter than the others
    StandardDefinition,  ///< MPEG-2, 720x576, interlaced, MP2
    WideSamples,         ///< H.264, 720x576, interlaced, samples of 16:11, MP2
    Hevc,                ///< HEVC, 1280x720, AAC
    Radio,               ///< MP2 without pictures
    Split,               ///< as StandardDefinition, in three files
    Damaged,             ///< as WideSamples, damaged from the middle on
    Missing,             ///< in the index alone
};

struct Recording
{
    RecordingKind kind = RecordingKind::StandardDefinition;
    unsigned look = 0; ///< the pictures' colours
    int source = 0;    ///< the recording, counted from 0, whose stream this one shows; itself among the built-in ones
    IndexRecord record{};
};

/// The first `count` programmes of the sample disk, as its index lists them, if it is made on the day `today`. After
/// the built-in ones come further episodes of them with the same streams, each longer ago than the one before.
[[nodiscard]] std::vector<Recording> catalogue(int count, const Day &today);

} // namespace quorvale
