#pragma once

#include "video/exact/readahead.h"

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

/// A restart of the decoder that is safe: everything from the anchor to well behind the target is sound.
struct SkipAheadJump
{
    std::int64_t restartPicture = 0; ///< the closed key picture to go on at
    std::int64_t restartPacket = 0;
    std::int64_t restartPlace = 0; ///< its place in `order`
    std::int64_t targetPicture = 0;
    std::int64_t targetNumber = 0;   ///< of it; the one asked for, or one on the way there
    std::int64_t anchorNumber = 0;   ///< number of the picture order[0]
    std::vector<std::int64_t> order; ///< pictures from the anchor on, as they are delivered
    /// Those of them that the decoder is to deliver: from the restart to the target, without pictures that no other one
    /// refers to.
    std::vector<std::int64_t> deliveries;
};

/// Decides which packets of a recording need not be decoded to deliver picture number n, n being counted as if all of
/// them were.
///
///     packets  K..........K..........K..........K..........K....T..K     K: closed key picture, T: wanted
///              DDDDDDDDDDDDDDD..........................   DDDDDDDD      D: decoded
///              proof          read and counted             restart
///
/// Numbers are counted on from an anchor: a closed key picture whose number the decoder itself has shown, with nothing
/// doubtful behind it. Nothing is skipped before a run of pictures behind an anchor came out exactly as predicted, each
/// with the very packet that was predicted. Where a packet ahead is doubtful the reader decodes through it in order and
/// a new anchor is taken behind it. See docs/skipping.md.
///
/// Watches one pass over a file from its first packet on; it ends with the first seek. Belongs to one reader.
class SkipAhead
{
public:
    explicit SkipAhead(ReadAhead packets)
        : ahead(std::move(packets))
    {
    }

    /// The next packet in the file's order, from now on the one that was sent last; false at the end of the file.
    bool take(AVPacket &packet);
    /// Number of the packet taken last; the decoder's pictures are to carry it.
    [[nodiscard]] std::int64_t packet() const { return ahead.next() - 1; }
    /// Notes that the decoder delivered, as number `number`, the picture that began with packet `packet`. `sound`: it
    /// carries no mark of damage; `row`: the reader enters it in the table.
    void delivered(std::int64_t firstPacket, std::int64_t number, bool sound, bool row);
    /// Notes that the decoder complained about the packet taken last.
    void failed();

    /// Reads ahead and looks for a restart on the way from picture `current` to picture `target`, which is not the next
    /// few. Where the file ends too soon behind `target`, or before it, the restart is on the way to the last picture
    /// that is certain to be delivered. Nothing where none is safe, or worth it, at the time.
    [[nodiscard]] std::optional<SkipAheadJump> plan(std::int64_t current, std::int64_t target);
    /// Notes that the decoder was emptied, to go on at the jump's packet.
    void restarted(const SkipAheadJump &jump);
    /// Whether the packet taken last completes a picture, where one is delivered for each.
    [[nodiscard]] bool completesStep() const;
    /// Whether the packet taken last begins a picture.
    [[nodiscard]] bool beginsPicture() const;
    /// Whether the decoder needs the packet taken last to deliver the jump's target in its turn, and what follows it.
    [[nodiscard]] bool isNeeded(const SkipAheadJump &jump) const;
    /// Whether the picture that began with `packet` is delivered before the one at which the jump goes on.
    [[nodiscard]] bool isInFront(const SkipAheadJump &jump, std::int64_t packet) const;
    /// Whether `packet` is the first packet of picture `picture`.
    [[nodiscard]] bool isPicture(std::int64_t picture, std::int64_t packet) const;
    /// Whether the reader would enter picture `picture` in the table.
    [[nodiscard]] bool wouldBeRow(std::int64_t picture) const { return window().picture(picture).tableRow; }
    /// Notes that `picture` was counted (and, from the restart on, delivered).
    void counted(std::int64_t picture);
    /// Ends a jump at its target: its key picture is the anchor now.
    void arrived(const SkipAheadJump &jump);

    /// Whether the decoder's latest picture is certainly the one that decoding everything would have delivered.
    [[nodiscard]] bool trusted();
    /// Whether the decoder is in a state in which any complaint is damage that no packet showed.
    [[nodiscard]] bool strict() const { return strictNow; }
    /// Whether a stretch without any doubt did not decode as predicted, after a restart.
    [[nodiscard]] bool betrayed() const { return surprised; }
    [[nodiscard]] bool hasRestarted() const { return hasSkipped; }
    /// Whether no packet up to the end of the file was doubtful, and the decoder never complained.
    [[nodiscard]] bool wasSound() const
    {
        return ahead.atEnd() && !surprised && window().lastDoubtBefore(window().packetEnd()) < 0;
    }

    /// Forbids restarts up to picture `number`.
    void decodeAllBefore(std::int64_t number) { noJumpBefore = number; }

private:
    enum class Phase { Unknown, FirstPacket, LastPacket };

    struct Anchor
    {
        std::int64_t picture = 0;
        std::int64_t number = 0;
        std::int64_t delay = 0; ///< from a picture's place in the order to the picture whose packet delivers it
    };

    void dropStaleAnchor();
    void loseAnchor();
    void becomeAnchor(std::int64_t picture, std::int64_t number);
    [[nodiscard]] bool canBeAnchor(std::int64_t picture) const;
    [[nodiscard]] bool continues(std::int64_t picture, std::int64_t number, bool row) const;
    [[nodiscard]] bool phaseHolds();
    [[nodiscard]] std::int64_t earliestUndelivered() const;
    [[nodiscard]] std::optional<SkipAheadJump> restartFor(std::vector<std::int64_t> order, std::int64_t place);
    [[nodiscard]] std::int64_t restartPicture(const std::vector<std::int64_t> &order, std::int64_t place) const;
    [[nodiscard]] bool hasFieldsBetween(std::int64_t from, std::int64_t to) const;

    [[nodiscard]] PictureWindow &window() { return ahead.window(); }
    [[nodiscard]] const PictureWindow &window() const { return ahead.window(); }

    ReadAhead ahead;
    std::optional<Anchor> anchor;
    Phase phase = Phase::Unknown;    ///< which packet of a picture of two fields delivers one
    std::int64_t lastNumber = -1;    ///< of the picture delivered or counted last
    std::int64_t provenPictures = 0; ///< in a row, that came as predicted
    bool proven = false;
    std::int64_t soundFrom = 0; ///< an anchor must not lie before this packet
    std::int64_t nextPlan = 0;  ///< no plan is made for the same target until this packet is the next one
    std::int64_t plannedTarget = -1;
    std::int64_t noJumpBefore = 0;
    bool hasSkipped = false;
    bool strictNow = false;
    bool surprised = false;
};
