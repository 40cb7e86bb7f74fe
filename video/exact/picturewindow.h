#pragma once

#include "video/bitstream/packetfacts.h"

#include <cstdint>
#include <deque>

/// One coded picture: a packet, or the two packets of a frame coded as fields.
struct CodedPicture
{
    std::int64_t firstPacket = 0;
    std::int64_t lastPacket = 0;
    std::int64_t sequence = 0; ///< pictures are delivered by ascending sequence and, within it, order
    std::int64_t order = 0;
    std::int64_t pts = INT64_MIN; ///< INT64_MIN: none
    bool closedKey = false;       ///< see PacketFacts, as all of these
    bool strict = false;
    bool tableRow = false;
    bool reference = true;
    bool delivered = false; ///< by the decoder, or in its stead

    [[nodiscard]] bool comesBefore(const CodedPicture &other) const
    {
        return sequence != other.sequence ? sequence < other.sequence : order < other.order;
    }
};

/// The facts of the video packets around the reader's place, and the pictures that they are. Packets and pictures are
/// numbered from the file's start in the order in which they are decoded; a doubt about a picture is a doubt about its
/// packets.
class PictureWindow
{
public:
    /// `unitsInASecond`: of the stream's time base.
    explicit PictureWindow(std::int64_t unitsInASecond)
        : second(unitsInASecond)
    {
    }

    /// Takes the next packet's facts and compares them with those before.
    void append(const PacketFacts &facts);
    /// Forgets what lies before picture `picture`.
    void discardBefore(std::int64_t picture);
    /// Forgets all pictures whose packets all lie before `packet`.
    void discardBeforePacket(std::int64_t packet);

    [[nodiscard]] std::int64_t packetEnd() const { return packetBase + static_cast<std::int64_t>(packets.size()); }
    [[nodiscard]] std::int64_t pictureEnd() const { return pictureBase + static_cast<std::int64_t>(pictures.size()); }
    [[nodiscard]] bool holdsPacket(std::int64_t packet) const { return packet >= packetBase && packet < packetEnd(); }
    [[nodiscard]] const PacketFacts &facts(std::int64_t packet) const { return entry(packet).facts; }
    [[nodiscard]] std::int64_t pictureOf(std::int64_t packet) const { return entry(packet).picture; }
    [[nodiscard]] const CodedPicture &picture(std::int64_t number) const { return pictures[place(number)]; }
    [[nodiscard]] CodedPicture &picture(std::int64_t number) { return pictures[place(number)]; }

    void doubtPacket(std::int64_t packet, Doubt doubt);
    /// Doubts every packet of the picture.
    void doubtPicture(std::int64_t picture, Doubt doubt);
    /// The first packet from `from` up to but not including `end` with a doubt; `end` where there is none.
    [[nodiscard]] std::int64_t firstDoubt(std::int64_t from, std::int64_t end) const;
    /// The last packet before `end` with a doubt that has ever been in the window; -1 where there was none. That a
    /// packet is the last of the file does not count: it may be torn, what comes before it is not.
    [[nodiscard]] std::int64_t lastDoubtBefore(std::int64_t end) const;
    /// The first packet from `from` up to but not including `end` with new parameters; `end` where there is none.
    [[nodiscard]] std::int64_t firstNewParameters(std::int64_t from, std::int64_t end) const;

private:
    struct Entry
    {
        PacketFacts facts;
        std::int64_t picture = 0;
    };

    [[nodiscard]] const Entry &entry(std::int64_t packet) const
    {
        return packets[static_cast<std::size_t>(packet - packetBase)];
    }
    [[nodiscard]] std::size_t place(std::int64_t picture) const
    {
        return static_cast<std::size_t>(picture - pictureBase);
    }
    bool completesFrame(const PacketFacts &facts) const;
    void checkDecodeTime(const PacketFacts &facts);
    void addPicture(const PacketFacts &facts);

    std::deque<Entry> packets;
    std::deque<CodedPicture> pictures;
    std::int64_t packetBase = 0;
    std::int64_t pictureBase = 0;
    std::int64_t second;
    std::int64_t sequence = 0;
    std::int64_t lastDts = INT64_MIN;
    std::int64_t lastCorrupt = -10;
    std::int64_t forgottenDoubt = -1; // the last one that is no longer in the window
    bool fieldOpen = false;           // the latest packet is a field that waits for the other one
};
