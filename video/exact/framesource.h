#pragma once

#include "video/exact/aheadlimits.h"
#include "video/exact/decodingthreads.h"
#include "video/exact/exactcounters.h"
#include "video/exact/keptpackets.h"
#include "video/exact/literalrun.h"
#include "video/exact/loadedpackets.h"
#include "video/exact/packetreplay.h"
#include "video/exact/planning.h"
#include "video/exact/scan.h"

#include <deque>
#include <future>
#include <limits>
#include <map>
#include <memory>
#include <optional>

namespace quorvale {

/// A random access point whose number is known: places of its stretch are counted from it on.
struct Anchor
{
    std::size_t stretch = 0;
    EntryPoint point;
    FrameNumber number;
    std::int64_t depth = 0; ///< of the decoder that showed it
    /// From this place on, runs did not decode as foreseen.
    std::optional<OutputIndex> betrayedFrom;
    bool wasBridgedFrom = false; ///< whether the next anchor was looked for

    [[nodiscard]] OutputIndex placeOf(FrameNumber wanted) const { return point.place + (wanted - number); }
    [[nodiscard]] FrameNumber numberAt(OutputIndex place) const { return number + (place - point.place); }
};

/// Finds decoded pictures by their number, with the least decoding that shows them to be right. See
/// docs/exact-reading.md.
///
/// Belongs to one thread at a time, as its user does. It has threads of its own for pictures that were announced; those
/// share nothing with it but the tasks that DecodingThreads hands over, and are joined when it is destroyed.
class FrameSource
{
public:
    enum class Status { Found, PastEnd, NotProven, Failed };

    /// `limits`: of what is decoded before it is asked for.
    FrameSource(VideoLocation location, VideoCoding coding, std::int64_t unitsInASecond, DecoderRecipe recipe,
                AheadLimits limits);

    /// Says which pictures will be asked for: those that cannot be had are then refused before anything is decoded,
    /// and the others are decoded at once. In place of any that were announced before.
    void announce(const std::vector<FrameNumber> &numbers);

    /// Makes frame() picture `number`.
    Status find(FrameNumber number);
    [[nodiscard]] const AVFrame &frame() const { return *m_frame; }

    /// Number of pictures, once the end of the file was decoded.
    [[nodiscard]] std::optional<FrameNumber> end() const { return m_fileEnd; }
    /// Whether the whole file was scanned, and nothing is doubtful from its first random access point on.
    [[nodiscard]] bool isUndoubted() const;
    [[nodiscard]] ExactCounters counters() const;

private:
    enum class Verdict { Proven, Refuted, Open };
    enum class Trust { Unknown, Yes, No };
    enum class Taken { Picture, Betrayal, Nothing };
    enum class Loading { Done, NoAnchor, NoRoom };

    // A random access point that may become an anchor, once its number is known.
    struct Candidate
    {
        std::size_t stretch;
        EntryPoint point;
        std::int64_t proof; ///< pictures from it on that must come out as foreseen
    };

    // A picture that is decoded before it is asked for.
    struct Ahead
    {
        std::future<DecodedPicture> picture;
        DecodedPicture decoded; ///< once that has been waited for
        std::size_t stretch = 0;
        OutputIndex entry;
        OutputIndex place;
        std::int64_t depth = 0;
        bool byReferenceLists = false;
        std::int64_t pictures = 0; ///< that it may decode
        std::int64_t bytes = 0;    ///< of packets
    };

    static constexpr std::int64_t kNearStart = 24; ///< pictures that are decoded from the start rather than proven
    static constexpr std::int64_t kMostDelay = 2 * kMostReordering; ///< pictures that come out while one waits
    /// Pictures after damage that must come out undamaged and as foreseen: the decoder has then forgotten the damage,
    /// and everything that came before an IDR, BLA or CRA picture. Twice as many after another point.
    static constexpr std::int64_t kProofAfterDamage = 32;
    static constexpr std::int64_t kLongProofAfterDamage = 64;
    static constexpr PictureIndex kToTheEnd{std::numeric_limits<std::int64_t>::max()};

    [[nodiscard]] const PictureList &pictures() const { return m_scan.pictures(); }
    [[nodiscard]] const Stretch &stretchOf(const Anchor &anchor) const { return m_scan.stretches().at(anchor.stretch); }
    [[nodiscard]] OutputIndex provenEnd(const Anchor &anchor) const;
    [[nodiscard]] bool knowsDepth(const Anchor &anchor, PictureIndex entry) const;
    bool isProven(const Anchor &anchor, OutputIndex place);
    [[nodiscard]] std::deque<Anchor>::iterator anchorFor(FrameNumber number);
    [[nodiscard]] PlanningRules rules(const Anchor &anchor) const;

    Status findAnywhere(FrameNumber number);
    Status findFromStart(FrameNumber number);
    Status findFromAnchors(FrameNumber number);
    Status findNearEnd(Anchor &anchor, FrameNumber number);
    Status endAt(FrameNumber end, FrameNumber wanted);
    Status hop(Anchor &anchor, OutputIndex place);
    [[nodiscard]] bool mayRetry(const Anchor &anchor, OutputIndex entry, OutputIndex place) const;
    static void betray(Anchor &anchor, OutputIndex from);
    Status findAfterBetrayal(Anchor &anchor, FrameNumber number);
    [[nodiscard]] bool isDecodedPlainly(FrameNumber number) const;
    [[nodiscard]] bool mayGoOn(FrameNumber number) const;
    [[nodiscard]] bool isNearer(Anchor &anchor, OutputIndex place);
    Status standIn(FrameNumber number);
    Status goOnLiterally(FrameNumber number);
    [[nodiscard]] std::optional<EntryPoint> entryWellBefore(Anchor &anchor, OutputIndex trouble);
    bool beginWellBefore(Anchor &anchor, OutputIndex trouble);

    bool hasFirstAnchor();
    bool bridge(Anchor &from, FrameNumber wanted);
    bool beginBridge(Anchor &from, const EntryPoint &entry);
    bool searchAnchor(PictureIndex after, bool isBridge, PictureIndex last, FrameNumber lastNumber);
    std::optional<Candidate> candidate(PictureIndex after, std::size_t passedOver, bool isBridge);
    [[nodiscard]] Verdict judge(const Candidate &candidate) const;

    [[nodiscard]] std::optional<EntryPoint> entryFor(Anchor &anchor, OutputIndex place);
    void testForAnnounced();
    void testRestart(Anchor &anchor, OutputIndex place);
    [[nodiscard]] bool mayTest(const Anchor &anchor, const EntryPoint &point) const;
    [[nodiscard]] bool restartsAlike(Anchor &anchor, const EntryPoint &point);
    [[nodiscard]] std::vector<FrameChecksum> decodeChecksums(const Anchor &anchor, const EntryPoint &point,
                                                             OutputIndex last);

    void loadAhead();
    Loading loadNext(FrameNumber number);
    [[nodiscard]] std::optional<DecodingTask> makeTask(RunPlan plan, PictureIndex target);
    [[nodiscard]] std::future<DecodedPicture> begin(DecodingTask task);
    [[nodiscard]] std::unique_ptr<LoadedPackets> load(const RunPlan &plan);
    [[nodiscard]] bool isRoomFor(const Ahead &further) const;
    void keepPassed(FrameNumber number);
    bool takePassed(FrameNumber number);
    Taken takeAhead(Anchor &anchor, OutputIndex place);
    const DecodedPicture &finish(Ahead &ahead);
    void dropTask(FrameNumber number);
    void dropAhead();

    void lookAtProspects();
    [[nodiscard]] bool isSurelyRefused(FrameNumber number) const;
    [[nodiscard]] bool isTooLong(PictureIndex entry, PictureIndex target) const;
    [[nodiscard]] std::int64_t bridgesBefore(PictureIndex end) const;
    [[nodiscard]] static std::int64_t proofFrom(RandomAccess kind, bool isBridge);
    [[nodiscard]] std::int64_t reach() const;
    [[nodiscard]] bool standsIn() const { return m_literal && m_literalStandsIn; }
    [[nodiscard]] bool isWithinBudget(std::int64_t cost) const;
    [[nodiscard]] bool mayTry(std::int64_t cost) const;
    [[nodiscard]] bool mayBridge(std::int64_t cost) const;

    bool beginFromStart();
    LiteralRun::Step decodeLiterally(PictureIndex last);
    void takeNextFrame();
    bool prepareWorker(PictureIndex entry);
    [[nodiscard]] std::unique_ptr<DecodingWorker> makeWorker();

    KeptPackets m_kept; ///< while announced pictures are looked at and loaded
    VideoLocation m_location;
    VideoCoding m_coding;
    DecoderRecipe m_recipe;
    Scan m_scan;
    ExactCounters m_counters;

    std::unique_ptr<LiteralRun> m_literal; ///< from the start, or over a bridge
    bool m_literalFromStart = false;
    bool m_literalIsPlain = false;  ///< its decoder is in the state of one that began with the file
    bool m_literalStandsIn = false; ///< it is the reader that decodes everything; see standIn()
    std::unique_ptr<DecodingWorker> m_worker;
    std::deque<Anchor> m_anchors;     ///< ascending
    bool m_hopeless = false;          ///< there will be no first anchor
    bool m_byReferenceLists = true;   ///< see PlanningRules; not any more after a run that failed
    Trust m_inexact = Trust::Unknown; ///< recovery points that promise nothing

    std::vector<FrameNumber> m_announced; ///< ascending; until their prospects were looked at
    std::optional<FrameNumber> m_refusedUpTo;
    FrameNumber m_plainUpTo;      ///< to where whoever decodes everything has come, for what was refused
    FrameNumber m_horizon;        ///< the farthest picture that was asked for
    std::int64_t m_inVain = 0;    ///< pictures that were decoded for nothing
    std::int64_t m_onBridges = 0; ///< pictures that were decoded on bridges

    ffmpeg::FramePtr m_frame;
    ffmpeg::FramePtr m_nextFrame;
    std::optional<FrameNumber> m_frameNumber; ///< of the picture in m_frame
    std::optional<FrameNumber> m_fileEnd;

    AheadLimits m_limits;
    PacketReplay m_loader;                      ///< for the packets of the tasks
    std::deque<FrameNumber> m_toLoad;           ///< announced, with good prospects; ascending
    std::unique_ptr<DecodingThreads> m_threads; ///< null until there is a task
    std::map<FrameNumber, Ahead> m_ahead;
    std::map<FrameNumber, ffmpeg::FramePtr> m_passed; ///< announced, and decoded plainly before they were asked for
};

} // namespace quorvale
