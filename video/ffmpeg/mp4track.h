#pragma once

#include <cstdint>
#include <vector>

namespace quorvale::ffmpeg {

/// What the boxes of an MP4 track say about the entries that its index will have.
struct Mp4Track
{
    /// ISO/IEC 14496-12, 8.7.4
    struct ChunkRun
    {
        std::int64_t firstChunk;
        std::int64_t samplesAChunk;
    };

    std::int64_t samples = 0;        ///< sample_count of stsz
    std::int64_t chunks = 0;         ///< entry_count of stco
    std::int64_t edits = 0;          ///< in elst, less the empty ones
    std::vector<ChunkRun> runs;      ///< of stsc
    int timeTables = 0;              ///< how many stts there are
    int descriptions = 0;            ///< sample entries in all stsd
    bool hasOutputTimes = false;     ///< whether there is ctts
    bool isSound = false;            ///< of handler type "soun"
    bool isPicture = false;          ///< of handler type "vide" or "subp"; a track can claim both
    bool isOfUnitSamples = false;    ///< all samples have duration 1, as those of sound that is not coded
    bool isUncoded = false;          ///< of a sound format with one sample a packet
    std::int64_t samplesAPacket = 1; ///< of a QuickTime sound description of version 1

    /// FFmpeg cuts sound of unit samples by chunks, and each chunk into entries; of all else each sample is an entry.
    /// An edit list can name all of them in each of its edits.
    [[nodiscard]] std::int64_t indexEntries() const;
};

} // namespace quorvale::ffmpeg
