#pragma once

#include "video/bridgeimage.h"
#include "video/exact/aheadlimits.h"
#include "video/exact/exactcounters.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

class FFVideo;

namespace quorvale {

class FrameSource;

/// Reads any picture of an opened file by its number, in any order, without decoding the pictures that it does not
/// need, and refuses rather than being wrong. See docs/exact-reading.md.
///
/// Has a demultiplexer and decoders of its own; the FFVideo is left alone and may be closed. MPEG-2, H.264 and HEVC
/// with start codes, in files that can be entered in the middle.
///
/// Not thread-safe: one reader belongs to one thread at a time, which reads all of the file. Pictures that were
/// announced are decoded ahead on threads of the reader's own, from memory; they end with it at the latest, and whoever
/// destroys it waits for no more than the pictures in hand. Bits are the same with any number of threads.
class ExactReader
{
public:
    enum class Answer {
        Picture,   ///< the picture that FFVideo::Read delivers
        NotCopied, ///< that picture has planes that FFVideo::Read does not copy; only the format is set
        PastEnd,   ///< there is no such picture: the end of the file was decoded
        NotProven, ///< only decoding everything can tell
        Failed,    ///< the file cannot be read, or is no longer what it was
    };

    /// `video`: an open file. `processors`: how many pictures may be decoded at once, if there is memory for that.
    explicit ExactReader(const FFVideo &video, int processors = processorCount());
    ~ExactReader();
    ExactReader(const ExactReader &) = delete;
    ExactReader &operator=(const ExactReader &) = delete;

    /// Says which pictures will be read, before the first of them is. Those that cannot be had exactly, and those
    /// before them, which whoever decodes everything comes by anyway, are then refused before anything is decoded;
    /// the others are decoded several at once.
    void announce(const std::vector<int> &frameNumbers);

    /// Decodes picture `frameNumber` (0-based) and copies it into `image`, which must hold no planes and is left as it
    /// is with any answer but the first two.
    Answer read(int frameNumber, BridgeImage &image);

    /// How many pictures there are, once an answer was PastEnd or the last one was read.
    [[nodiscard]] std::optional<std::int64_t> pictureCount() const;
    /// Whether all of the file was looked at, and nothing is doubtful from its first random access point on.
    [[nodiscard]] bool isUndoubted() const;
    [[nodiscard]] ExactCounters counters() const;

private:
    std::unique_ptr<FrameSource> m_source; ///< null if the file is of another kind
    std::int32_t m_height;                 ///< see copyPicture()
};

} // namespace quorvale
