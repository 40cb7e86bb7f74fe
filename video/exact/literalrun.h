#pragma once

#include "video/exact/decodingworker.h"

#include <memory>
#include <optional>
#include <vector>

namespace quorvale {

/// Decodes everything, in order and whatever its state, from the first packet of the file or from an entry point: what
/// comes out is what decoding the whole file delivers, with the same numbers.
class LiteralRun
{
public:
    enum class Step {
        Picture,     ///< the next one; its number is that before end()
        NeedsPacket, ///< which is not in the list of pictures yet, or not settled
        Stopped,     ///< after the last picture that was to be decoded
        Failed,      ///< the file is not what it was when it was scanned, or the entry point did not come out
    };

    /// From the file's first packet on. `counters` is borrowed.
    LiteralRun(std::unique_ptr<DecodingWorker> worker, ExactCounters &counters);
    /// From picture `entry` on, which has the number `number`. The worker must have been started there.
    LiteralRun(std::unique_ptr<DecodingWorker> worker, ExactCounters &counters, const PictureList &pictures,
               PictureIndex entry, FrameNumber number, const WaysIn &ways);

    /// Sends nothing once position() is after `last`.
    Step next(const PictureList &pictures, AVFrame &frame, PictureIndex last);

    /// The number that the next picture will have.
    [[nodiscard]] FrameNumber end() const { return m_firstNumber + static_cast<std::int64_t>(m_shown.size()); }
    /// The number with which a coded picture came out; nothing if it did not.
    [[nodiscard]] std::optional<FrameNumber> numberOf(PictureIndex picture) const;
    /// The coded picture that came out with a number from the first one up to end().
    [[nodiscard]] PictureIndex at(FrameNumber number) const
    {
        return m_shown[static_cast<std::size_t>(number - m_firstNumber)];
    }

    /// The coded picture whose packet was sent last.
    [[nodiscard]] PictureIndex position() const { return m_picture; }
    /// The last picture up to which the decoder found something wrong; kBeforeFirstPicture where it did not.
    [[nodiscard]] PictureIndex lastTrouble() const { return m_lastTrouble; }
    [[nodiscard]] std::int64_t depth() const { return m_worker->decoding.depth(); }
    /// Hands the worker on; nothing can be decoded afterwards.
    [[nodiscard]] std::unique_ptr<DecodingWorker> takeWorker();

private:
    bool sendNext(const PictureList &pictures);
    [[nodiscard]] bool isLeading(const PictureList &pictures, PictureIndex picture) const;

    std::unique_ptr<DecodingWorker> m_worker;
    ExactCounters &m_counters;
    ffmpeg::PacketPtr m_packet;
    FrameNumber m_firstNumber;
    std::optional<PictureIndex> m_entry; ///< nothing: from the first packet on
    WaysIn m_ways = {-1, -1, -1};        ///< to the entry point
    std::vector<PictureIndex> m_shown;
    PictureIndex m_picture;
    PacketIndex m_next;
    PictureIndex m_lastTrouble = kBeforeFirstPicture;
    int m_failuresInARow = 0;
};

} // namespace quorvale
