#include "video/ffmpeg/mp4track.h"

#include <algorithm>

namespace quorvale::ffmpeg {

namespace {

// As many samples as FFmpeg takes for one entry: of sound that is not coded 1,024, else one packet at least.
constexpr std::int64_t kSamplesAnEntry = 1024;
constexpr std::int64_t kSmallestPacket = 160;
constexpr std::int64_t kMostEntries = std::int64_t{1} << 40; // more is as much, and does not overflow

std::int64_t entriesByChunks(const Mp4Track &track)
{
    const bool isPlain = track.descriptions == 1 && track.isUncoded && track.samplesAPacket == 1;
    const std::int64_t samplesAnEntry = isPlain ? kSamplesAnEntry : kSmallestPacket;
    std::int64_t entries = 0;
    for (std::size_t i = 0; i < track.runs.size(); ++i) {
        const Mp4Track::ChunkRun &run = track.runs[i];
        const std::int64_t end = i + 1 < track.runs.size() ? track.runs[i + 1].firstChunk : track.chunks + 1;
        const std::int64_t chunks = std::max<std::int64_t>(end - run.firstChunk, 0);
        entries = std::min(kMostEntries, entries + chunks * (run.samplesAChunk / samplesAnEntry +
                                                             (run.samplesAChunk % samplesAnEntry != 0 ? 1 : 0)));
    }
    return entries;
}

} // namespace

std::int64_t Mp4Track::indexEntries() const
{
    const bool isCutByChunks = isSound && !isPicture && isOfUnitSamples && timeTables == 1;
    const std::int64_t entries = isCutByChunks ? entriesByChunks(*this) : samples;
    return std::min(entries, kMostEntries) * std::max<std::int64_t>(std::min(edits, kMostEntries >> 20), 1);
}

} // namespace quorvale::ffmpeg
