#pragma once

#include "video/bitstream/ordernumbers.h"
#include "video/bitstream/packetscanner.h"

#include <array>
#include <optional>

/// MPEG-2. The order follows from the types of the pictures; packets that hold the fields of a frame one after the
/// other are doubted.
class Mpeg2Scanner : public PacketScanner
{
protected:
    void scanUnits(const AVPacket &packet, PacketFacts &facts) override;

private:
    std::int64_t references = 0; // I and P pictures so far
    std::int64_t between = 0;    // B pictures since the last of them
};

/// H.264 with start codes.
class H264Scanner : public PacketScanner
{
public:
    explicit H264Scanner(std::unique_ptr<OrderNumbers> numbers);

    struct Sequence
    {
        int frameNumberBits = 0;
        int orderBits = 0; ///< 0: the order is not in the slices
        bool framesOnly = true;
        bool separatePlanes = false;
    };
    struct Recovery
    {
        std::uint32_t frames = 0; ///< until the pictures are right
        bool exact = false;
        bool brokenLink = false;
    };
    struct Slice
    {
        std::uint32_t firstMacroblock = 0;
        std::uint32_t type = 0;
        std::uint32_t sequence = 0;
        std::uint32_t frameNumber = 0;
        std::uint32_t idrNumber = 0;
        std::uint32_t order = 0;
        PictureShape shape = PictureShape::Frame;
        bool idr = false;
        bool reference = false;
    };

protected:
    void scanUnits(const AVPacket &packet, PacketFacts &facts) override;

private:
    void scanSequence(Bytes unit, PacketFacts &facts);
    void scanPicture(Bytes unit, PacketFacts &facts);
    [[nodiscard]] std::optional<Slice> readSlice(Bytes unit) const;

    std::unique_ptr<OrderNumbers> orderNumbers;
    std::array<std::optional<Sequence>, 32> sequences;
    std::array<std::optional<std::uint32_t>, 256> sequenceOfPictureSet;
};

/// HEVC with start codes.
class HevcScanner : public PacketScanner
{
public:
    explicit HevcScanner(std::unique_ptr<OrderNumbers> numbers);

    struct SequenceSet
    {
        int addressBits = 0;  ///< length of a slice's address
        int highestLayer = 0; ///< of the temporal ones
    };
    struct PictureSet
    {
        std::uint32_t sequence = 0;
        int extraHeaderBits = 0;
        bool dependentSlices = false;
    };
    struct Slice
    {
        bool first = false;
        bool dependent = false;
        bool withholdsEarlier = false; ///< no_output_of_prior_pics_flag
        bool reference = true;         ///< other pictures may refer to this one
        std::uint32_t address = 0;
        std::uint32_t type = 0; ///< not of a dependent slice
    };

protected:
    void scanUnits(const AVPacket &packet, PacketFacts &facts) override;

private:
    void scanSequence(Bytes unit, PacketFacts &facts);
    void scanPicture(Bytes unit, PacketFacts &facts);
    [[nodiscard]] std::optional<Slice> readSlice(Bytes unit, int unitType) const;

    std::unique_ptr<OrderNumbers> orderNumbers;
    std::array<std::optional<SequenceSet>, 16> sequences;
    std::array<std::optional<PictureSet>, 64> pictureSets;
};
