#pragma once

#include "video/exact/decodingworker.h"
#include "video/exact/exactcounters.h"

#include <memory>
#include <vector>

namespace quorvale {

/// Decodes a file from its first packet on, everything and in order: the number of a picture is what it shows.
class Beginning
{
public:
    enum class Step {
        Picture,     ///< the next one; its number is `shown().size() - 1`
        NeedsPacket, ///< which is not in the list of pictures yet, or not settled
        Failed,      ///< the file is not what it was when it was scanned
    };

    /// `counters` is borrowed.
    Beginning(std::unique_ptr<DecodingWorker> worker, ExactCounters &counters);

    Step next(const PictureList &pictures, AVFrame &frame);
    /// The coded pictures that came out, by their number.
    [[nodiscard]] const std::vector<PictureIndex> &shown() const { return m_shown; }
    /// The coded picture whose packet was sent last.
    [[nodiscard]] PictureIndex position() const { return m_picture; }
    /// The last picture up to which the decoder found something wrong; -1 where it did not.
    [[nodiscard]] PictureIndex lastTrouble() const { return m_lastTrouble; }
    [[nodiscard]] std::int64_t depth() const { return m_worker->decoding.depth(); }
    /// Hands the worker on; nothing can be decoded afterwards.
    [[nodiscard]] std::unique_ptr<DecodingWorker> takeWorker();

private:
    bool sendNext(const PictureList &pictures);

    std::unique_ptr<DecodingWorker> m_worker;
    ExactCounters &m_counters;
    ffmpeg::PacketPtr m_packet;
    std::vector<PictureIndex> m_shown;
    PictureIndex m_picture;
    PacketIndex m_next;
    PictureIndex m_lastTrouble = PictureIndex(std::int64_t{-1});
    int m_failuresInARow = 0;
};

} // namespace quorvale
