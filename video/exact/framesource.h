#pragma once

#include "video/exact/beginning.h"
#include "video/exact/exactcounters.h"
#include "video/exact/planning.h"
#include "video/exact/scan.h"

#include <memory>
#include <optional>

namespace quorvale {

/// A picture whose number is known: places of its stretch are counted from it on.
struct Anchor
{
    std::size_t stretch = 0;
    OutputIndex place;
    FrameNumber number;
};

/// Finds decoded pictures by their number, with the least decoding that shows them to be right. See
/// docs/exact-reading.md.
class FrameSource
{
public:
    enum class Status { Found, PastEnd, NotProven, Failed };

    FrameSource(VideoLocation location, VideoCoding coding, std::int64_t unitsInASecond, DecoderRecipe recipe);

    /// Makes frame() picture `number`.
    Status find(FrameNumber number);
    [[nodiscard]] const AVFrame &frame() const { return *m_frame; }

    /// Number of pictures, once the end of the file was decoded.
    [[nodiscard]] std::optional<FrameNumber> end() const { return m_fileEnd; }
    /// Whether the whole file was scanned, and nothing in it is doubtful.
    [[nodiscard]] bool isSound() const { return m_scan.pictures().isFinished() && m_scan.pictures().isSound(); }
    [[nodiscard]] ExactCounters counters() const;

private:
    [[nodiscard]] const PictureList &pictures() const { return m_scan.pictures(); }
    [[nodiscard]] const Stretch &stretch() const { return m_scan.stretches().at(m_anchor->stretch); }
    [[nodiscard]] OutputIndex provenEnd() const;

    Status findFromStart(FrameNumber number);
    Status findFromAnchor(FrameNumber number);
    Status findNearEnd(FrameNumber number);
    Status endAt(FrameNumber end, FrameNumber wanted);

    bool anchorIsProven(FrameNumber horizon);
    [[nodiscard]] bool scanToFirstStretch();
    // A random access point that may become the anchor, once its number is known.
    struct Candidate
    {
        std::size_t stretch;
        EntryPoint point;
    };
    enum class Verdict { Proven, Refuted, Open };
    Verdict judgeCandidate(const Candidate &candidate);
    std::optional<Candidate> firstCandidate();
    Beginning::Step decodeBeginning();

    Status hop(OutputIndex place);
    bool prepareWorker(PictureIndex entry);
    [[nodiscard]] std::unique_ptr<DecodingWorker> makeWorker() const;
    void takeNextFrame();
    void keep(FrameNumber number);

    VideoLocation m_location;
    VideoCoding m_coding;
    DecoderRecipe m_recipe;
    Scan m_scan;
    ExactCounters m_counters;

    std::unique_ptr<Beginning> m_beginning;
    std::unique_ptr<DecodingWorker> m_worker;
    std::optional<Anchor> m_anchor;
    std::size_t m_refuted = 0; ///< candidates for the anchor that were not what was foreseen
    bool m_hopeless = false;   ///< nothing can be proven in this file
    std::int64_t m_depth = 0;  ///< of the decoder that showed the anchor
    /// Runs from this place on did not decode as foreseen.
    std::optional<OutputIndex> m_betrayedFrom;

    ffmpeg::FramePtr m_frame;
    ffmpeg::FramePtr m_nextFrame;
    std::optional<FrameNumber> m_frameNumber; ///< of the picture in m_frame
    std::optional<FrameNumber> m_fileEnd;
};

} // namespace quorvale
