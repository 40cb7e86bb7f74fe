#pragma once

#include "tools/sampledisk/options.h"

#include <iosfwd>

namespace quorvale {

enum class SampleDiskResult {
    Kept,         ///< everything was there already
    IndexRenewed, ///< the streams were there; the index was of another day
    Written,      ///< all of it was made
};

/// Makes the volume "RECORDER" in `options.directory`, or keeps the one that is there. A line per finished recording
/// goes to `progress`. The index is written last, so a run that was interrupted leaves nothing that looks like a
/// recorder's disk; the next run starts again.
/// Throws std::runtime_error with a message for the user when a step fails, or when a file that this program did not
/// write is in the way; such a file is never touched.
SampleDiskResult makeSampleDisk(const Options &options, std::ostream &progress);

} // namespace quorvale
