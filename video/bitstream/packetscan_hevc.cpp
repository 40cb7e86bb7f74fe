#include "video/bitstream/bitreader.h"
#include "video/bitstream/packetscanners.h"
#include "video/bitstream/startcodes.h"
#include "video/ffmpeg/compat.h"

#include <utility>

using quorvale::BitReader;

namespace {

enum Unit : int {
    kLastOrdinarySlice = 9,
    kFirstKeySlice = 16, // BLA
    kLastIdr = 20,
    kLastKeySlice = 21, // CRA
    kVideoSet = 32,
    kSequenceSet = 33,
    kPictureSet = 34,
    kDelimiter = 35,
    kFiller = 38,
    kSupplementBefore = 39,
    kSupplementBehind = 40,
};

constexpr int kHeaderSize = 2;
constexpr std::uint32_t kSliceI = 2;
constexpr std::uint32_t kLargestDimension = 1U << 16;

int typeOf(Bytes unit)
{
    return unit.data[0] >> 1 & 0x3F;
}

int layerOf(Bytes unit)
{
    return (unit.data[0] & 1) << 5 | unit.data[1] >> 3;
}

int temporalLayerOf(Bytes unit)
{
    return (unit.data[1] & 7) - 1;
}

// Whether no picture of the same temporal layer refers to a picture of this type.
bool isSetAside(int type)
{
    return type <= kLastOrdinarySlice && type % 2 == 0;
}

bool isKey(int type)
{
    return type >= kFirstKeySlice && type <= kLastKeySlice;
}

bool isSlice(int type)
{
    return type <= kLastOrdinarySlice || isKey(type);
}

BitReader payloadOf(Bytes unit)
{
    return BitReader(withoutFirst(unit, kHeaderSize));
}

void skipProfile(BitReader &reader, std::uint32_t subLayers)
{
    reader.skipBits(96); // of the whole stream
    std::uint32_t profiles = 0;
    std::uint32_t levels = 0;
    for (std::uint32_t i = 0; i < subLayers; ++i) {
        profiles += reader.readBits(1);
        levels += reader.readBits(1);
    }
    if (subLayers > 0)
        reader.skipBits(2 * static_cast<int>(8 - subLayers));
    reader.skipBits(static_cast<int>(88 * profiles + 8 * levels));
}

// Bits of a number below `count`.
int bitsFor(std::uint64_t count)
{
    int bits = 0;
    while ((std::uint64_t{1} << bits) < count)
        ++bits;
    return bits;
}

// From behind the set's number on.
std::optional<HevcScanner::SequenceSet> readSequence(BitReader &reader, std::uint32_t subLayers)
{
    if (reader.readUe() == 3) // chroma format
        reader.readFlag();
    const std::uint32_t width = reader.readUe();
    const std::uint32_t height = reader.readUe();
    if (reader.readFlag()) { // cropping
        for (int side = 0; side < 4; ++side)
            reader.readUe();
    }
    reader.readUe(); // bit depths
    reader.readUe();
    reader.readUe(); // length of the order
    for (std::uint32_t i = reader.readFlag() ? 0 : subLayers; i <= subLayers; ++i) {
        reader.readUe();
        reader.readUe();
        reader.readUe();
    }
    const std::uint32_t smallest = reader.readUe();
    const std::uint32_t difference = reader.readUe();
    if (reader.failed() || width == 0 || height == 0 || width > kLargestDimension || height > kLargestDimension ||
        smallest > 3 || difference > 3)
        return std::nullopt;
    const std::uint32_t size = 1U << (3 + smallest + difference);
    const std::uint64_t blocks = std::uint64_t{(width + size - 1) / size} * ((height + size - 1) / size);
    return HevcScanner::SequenceSet{bitsFor(blocks), static_cast<int>(subLayers)};
}

// The slices of one packet.
struct SlicesSeen
{
    int type = -1; // of all of them: the unit's
    std::uint32_t lastAddress = 0;
    bool onePicture = true;
    bool intra = true;     // all of them
    bool hasIntra = false; // some of them
    bool reference = true;

    void add(const std::optional<HevcScanner::Slice> &slice, int unitType)
    {
        if (!slice) {
            onePicture = false;
            return;
        }
        const bool isFirst = type < 0;
        if (slice->first != isFirst || (!isFirst && (unitType != type || slice->address <= lastAddress)))
            onePicture = false;
        type = unitType;
        reference = slice->reference;
        lastAddress = slice->address;
        intra = intra && (slice->dependent || slice->type == kSliceI);
        hasIntra = hasIntra || (!slice->dependent && slice->type == kSliceI);
    }
};

} // namespace

HevcScanner::HevcScanner(std::unique_ptr<OrderNumbers> numbers)
    : orderNumbers(std::move(numbers))
{
}

void HevcScanner::scanSequence(Bytes unit, PacketFacts &facts)
{
    BitReader reader = payloadOf(unit);
    reader.skipBits(4);
    const std::uint32_t subLayers = reader.readBits(3);
    reader.readFlag();
    skipProfile(reader, subLayers);
    const std::uint32_t id = reader.readUe();
    if (reader.failed() || id >= sequences.size()) {
        facts.doubts |= kParametersChanged;
        return;
    }
    sequences.at(id) = readSequence(reader, subLayers);
    noteParameters(kSequenceSet << 16 | id, unit, facts);
}

void HevcScanner::scanPicture(Bytes unit, PacketFacts &facts)
{
    BitReader reader = payloadOf(unit);
    const std::uint32_t id = reader.readUe();
    PictureSet set;
    set.sequence = reader.readUe();
    set.dependentSlices = reader.readFlag();
    const bool mayWithhold = reader.readFlag();
    set.extraHeaderBits = static_cast<int>(reader.readBits(3));
    if (reader.failed() || id >= pictureSets.size() || set.sequence >= sequences.size()) {
        facts.doubts |= kParametersChanged;
        return;
    }
    if (mayWithhold)
        facts.doubts |= kPicturesWithheld;
    pictureSets.at(id) = set;
    noteParameters(kPictureSet << 16 | id, unit, facts);
}

std::optional<HevcScanner::Slice> HevcScanner::readSlice(Bytes unit, int unitType) const
{
    BitReader reader = payloadOf(unit);
    Slice slice;
    slice.first = reader.readFlag();
    slice.withholdsEarlier = isKey(unitType) && reader.readFlag();
    const std::uint32_t id = reader.readUe();
    if (reader.failed() || id >= pictureSets.size() || !pictureSets.at(id))
        return std::nullopt;
    const PictureSet &set = *pictureSets.at(id);
    const std::optional<SequenceSet> &sequence = sequences.at(set.sequence);
    if (!sequence)
        return std::nullopt;
    // The pictures of a lower temporal layer serve the higher ones, whatever their kind.
    slice.reference = !isSetAside(unitType) || temporalLayerOf(unit) < sequence->highestLayer;
    if (!slice.first) {
        slice.dependent = set.dependentSlices && reader.readFlag();
        slice.address = reader.readBits(sequence->addressBits);
    }
    if (!slice.dependent) {
        reader.skipBits(set.extraHeaderBits);
        slice.type = reader.readUe();
    }
    return reader.failed() || slice.type > kSliceI ? std::nullopt : std::optional(slice);
}

void HevcScanner::scanUnits(const AVPacket &packet, PacketFacts &facts)
{
    SlicesSeen slices;
    bool wellFormed = true;

    StartCodes units(packet.data, packet.size);
    Bytes unit;
    while (units.next(unit)) {
        const bool tooShort = unit.size <= kHeaderSize;
        if (tooShort || (unit.data[0] & 0x80) != 0 || layerOf(unit) != 0) {
            wellFormed = false;
            continue;
        }
        const int type = typeOf(unit);
        const bool inFront = slices.type < 0; // What comes behind a slice and is none belongs to the next picture.
        if (isSlice(type)) {
            const std::optional<Slice> slice = readSlice(unit, type);
            if (slice && slice->withholdsEarlier)
                facts.doubts |= kPicturesWithheld;
            slices.add(slice, type);
        } else if (inFront && type == kVideoSet) {
            noteParameters(kVideoSet << 16 | unit.data[kHeaderSize] >> 4, unit, facts);
        } else if (inFront && type == kSequenceSet) {
            scanSequence(unit, facts);
        } else if (inFront && type == kPictureSet) {
            scanPicture(unit, facts);
        } else if (type != kFiller && type != kSupplementBehind &&
                   !(inFront && (type == kDelimiter || type == kSupplementBefore))) {
            wellFormed = false; // ends of sequences, reserved types
        }
    }
    facts.order = orderNumbers->next(packet);
    if (packet.pts == AV_NOPTS_VALUE)
        facts.doubts |= kNoDisplayTime;
    if (!wellFormed || slices.type < 0 || !slices.onePicture) {
        facts.doubts |= kNotOnePicture;
        return;
    }
    const bool key = isKey(slices.type);
    facts.reference = slices.reference;
    facts.beginsSequence = key && slices.type <= kLastIdr; // IDR and BLA
    facts.closedKey = facts.strict = key;
    facts.tableRow = key || slices.intra;
    if (slices.hasIntra && !slices.intra)
        facts.doubts |= kTableRowUnclear;
}
