#pragma once

#include "video/bitstream/accessunit.h"
#include "video/exact/doubts.h"
#include "video/exact/numbers.h"
#include "video/ffmpeg/timestamp.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace quorvale {

/// What is kept of a packet: enough to find it again, and to recognise it.
struct ScannedPacket
{
    /// From where a demultiplexer can find it: a byte in the file, or a time (see Entrance); negative: unknown.
    std::int64_t position = -1;
    std::int64_t pts = kNoTimestamp; ///< in the stream's time base
    std::int32_t size = 0;           ///< bytes
    std::uint32_t checksum = 0;      ///< of the bytes; 0 where the times tell which packet it is
};

/// What is looked at once, while a packet is scanned.
struct PacketCircumstances
{
    std::int64_t dts = kNoTimestamp;
    bool corrupt = false;      ///< flagged by the demultiplexer
    bool newExtradata = false; ///< the container announces other parameters
};

/// What an H.264 or HEVC picture says about those that it needs.
struct KnownReferences
{
    /// NumPicTotalCurr (ITU-T H.265, 7.4.7.1). In H.264 twice as many can be; they count as not known.
    static constexpr std::size_t kMost = 8;

    /// How many pictures before this one, in decode order, each of them is; 0: no further one.
    std::array<std::uint8_t, kMost> distances{};
    bool areKnown = false;               ///< those are all
    bool isPrevTid0Pic = false;          ///< see AccessUnit
    std::uint32_t maxPicOrderCntLsb = 0; ///< see AccessUnit
    std::uint16_t sliceHeaderBytes = 0;  ///< see AccessUnit
};

/// One coded picture: a packet, or the two packets of a frame coded as fields.
struct CodedPicture
{
    std::int64_t pictureOrderCount = 0; ///< the lower one of two fields
    std::int64_t pts = kNoTimestamp;
    PacketIndex firstPacket;
    std::int32_t sequence = 0; ///< coded video sequences are output one after the other
    std::uint16_t doubts = 0;  ///< see Doubt
    std::int8_t packets = 1;
    RandomAccess randomAccess = RandomAccess::None;
    bool isReference = true;
    bool hasBSlices = false;     ///< H.264
    bool isFieldPair = false;    ///< H.262: both fields in one packet
    bool setsParameters = false; ///< a decoder that was not shown it may not know the parameters of later ones
    KnownReferences references;

    /// Whether decoding can begin at it only where that was tried: decoders differ in what they make of it.
    [[nodiscard]] bool promisesNothing() const
    {
        return randomAccess == RandomAccess::InexactRecoveryPoint || isFieldPair;
    }
    [[nodiscard]] PacketIndex lastPacket() const { return firstPacket + (packets - 1); }
    [[nodiscard]] bool isOutputBefore(const CodedPicture &other) const
    {
        return sequence != other.sequence ? sequence < other.sequence : pictureOrderCount < other.pictureOrderCount;
    }
};

/// All packets of a video that were scanned so far, and the pictures that they are. About 90 bytes a picture.
class PictureList
{
public:
    /// `unitsInASecond`: of the stream's time base. `needsDisplayTimes`: whether a picture without one is doubtful.
    PictureList(std::int64_t unitsInASecond, bool needsDisplayTimes)
        : m_second(unitsInASecond)
        , m_needsDisplayTimes(needsDisplayTimes)
    {
    }

    /// Takes the next packet and compares it with those before.
    void append(const ScannedPacket &packet, const AccessUnit &unit, const PacketCircumstances &circumstances);
    /// Notes that there is no further packet.
    void finish();

    [[nodiscard]] bool isFinished() const { return m_finished; }
    [[nodiscard]] PacketIndex packetEnd() const { return PacketIndex(m_packets.size()); }
    [[nodiscard]] PictureIndex pictureEnd() const { return PictureIndex(m_pictures.size()); }
    /// Up to here, pictures have their packets and whatever doubt a later packet can cast on them.
    [[nodiscard]] PictureIndex settledEnd() const;
    [[nodiscard]] const ScannedPacket &packet(PacketIndex index) const { return m_packets[index.place()]; }
    [[nodiscard]] const CodedPicture &picture(PictureIndex index) const { return m_pictures[index.place()]; }
    /// Pictures that set parameters, in decode order.
    [[nodiscard]] const std::vector<PictureIndex> &parameterSetters() const { return m_parameterSetters; }

    void doubt(PictureIndex index, Doubt doubt);
    /// Whether no picture so far is doubtful but the last of the file, which may be torn.
    [[nodiscard]] bool isUndoubted() const { return m_undoubted; }

private:
    [[nodiscard]] bool completesFrame(const AccessUnit &unit) const;
    void addPicture(const ScannedPacket &packet, const AccessUnit &unit);
    [[nodiscard]] KnownReferences referencesOf(const AccessUnit &unit) const;
    void addReferencesOfSecondField(const AccessUnit &unit);
    [[nodiscard]] std::uint8_t distanceTo(std::int64_t pictureOrderCount) const;
    void checkDecodeTime(std::int64_t dts);
    void castCorruption(bool corrupt);

    std::int64_t m_second;
    bool m_needsDisplayTimes;
    std::vector<ScannedPacket> m_packets;
    std::vector<CodedPicture> m_pictures;
    std::vector<PictureIndex> m_parameterSetters;
    AccessUnit m_latest; ///< the latest packet's
    std::int32_t m_sequence = 0;
    std::int64_t m_lastDts = kNoTimestamp;
    std::int64_t m_packetsSinceCorrupt = 100;
    bool m_fieldOpen = false; ///< the latest packet is a field that waits for the other one
    bool m_undoubted = true;
    bool m_finished = false;
};

} // namespace quorvale
