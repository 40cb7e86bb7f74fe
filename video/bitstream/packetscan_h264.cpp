#include "video/bitstream/bitreader.h"
#include "video/bitstream/packetscanners.h"
#include "video/bitstream/startcodes.h"
#include "video/ffmpeg/compat.h"

#include <algorithm>
#include <utility>

using quorvale::BitReader;

namespace {

enum Unit : int {
    kSlice = 1,
    kIdrSlice = 5,
    kSupplement = 6,
    kSequenceSet = 7,
    kPictureSet = 8,
    kDelimiter = 9,
    kFiller = 12,
};

constexpr int kRecoveryPoint = 6; // type of supplemental information

// Slice types are 0 for P, 1 for B and 2 for I, and 5 more where all slices of the picture have the same one.
constexpr std::uint32_t kSliceI = 2;

constexpr int kLargestExponent = 12; // bits of frame numbers and orders beyond the least 4

bool hasChromaFormat(std::uint32_t profile)
{
    constexpr std::uint32_t kProfiles[] = {100, 110, 122, 244, 44, 83, 86, 118, 128, 138, 139, 134, 135};
    return std::find(std::begin(kProfiles), std::end(kProfiles), profile) != std::end(kProfiles);
}

void skipScalingList(BitReader &reader, int size)
{
    int last = 8;
    int next = 8;
    for (int i = 0; i < size && !reader.failed(); ++i) {
        if (next != 0) {
            const std::uint32_t code = reader.readUe();
            const int difference = static_cast<int>((code >> 1) + (code & 1)) * ((code & 1) != 0 ? 1 : -1);
            next = (last + difference) & 0xFF;
        }
        last = next == 0 ? last : next;
    }
}

void skipChromaFormat(BitReader &reader, bool &separatePlanes)
{
    const std::uint32_t format = reader.readUe();
    separatePlanes = format == 3 && reader.readFlag();
    reader.readUe(); // bit depths
    reader.readUe();
    reader.readFlag(); // lossless
    if (!reader.readFlag())
        return;
    const int lists = format == 3 ? 12 : 8;
    for (int i = 0; i < lists; ++i) {
        if (reader.readFlag())
            skipScalingList(reader, i < 6 ? 16 : 64);
    }
}

// The length of an unsigned number in the slices, announced less 4; -1 where it is too long.
int lengthOf(std::uint32_t announced)
{
    return announced <= kLargestExponent ? static_cast<int>(announced) + 4 : -1;
}

std::optional<H264Scanner::Sequence> readSequence(BitReader &reader, std::uint32_t profile)
{
    H264Scanner::Sequence sequence;
    if (hasChromaFormat(profile))
        skipChromaFormat(reader, sequence.separatePlanes);
    sequence.frameNumberBits = lengthOf(reader.readUe());
    const std::uint32_t orderKind = reader.readUe();
    if (orderKind == 0) {
        sequence.orderBits = lengthOf(reader.readUe());
    } else if (orderKind == 1) {
        reader.readFlag();
        reader.readUe();
        reader.readUe();
        const std::uint32_t cycle = reader.readUe();
        for (std::uint32_t i = 0; i < std::min<std::uint32_t>(cycle, 255); ++i)
            reader.readUe();
    }
    reader.readUe();   // reference pictures
    reader.readFlag(); // gaps in frame numbers are allowed
    reader.readUe();   // width
    reader.readUe();   // height
    sequence.framesOnly = reader.readFlag();
    if (reader.failed() || orderKind > 2 || sequence.frameNumberBits < 0 || sequence.orderBits < 0)
        return std::nullopt;
    return sequence;
}

// One byte after the other of a message's type or size, 255 each but the last.
std::int64_t readSupplementNumber(Bytes &unit)
{
    std::int64_t value = 0;
    while (unit.size > 0) {
        const std::uint8_t byte = *unit.data++;
        --unit.size;
        value += byte;
        if (byte != 0xFF)
            break;
    }
    return value;
}

// The recovery point among the messages of a unit. Emulation prevention inside earlier messages would shift what
// follows, so the search ends at a message that does not fit; a recovery point is among the first.
std::optional<H264Scanner::Recovery> findRecovery(Bytes unit)
{
    ++unit.data;
    --unit.size;
    while (unit.size > 2) {
        const std::int64_t type = readSupplementNumber(unit);
        const std::int64_t size = readSupplementNumber(unit);
        if (type == kRecoveryPoint) {
            BitReader reader(unit);
            H264Scanner::Recovery recovery;
            recovery.frames = reader.readUe();
            recovery.exact = reader.readFlag();
            recovery.brokenLink = reader.readFlag();
            return reader.failed() ? std::nullopt : std::optional(recovery);
        }
        if (size > unit.size)
            break;
        unit.data += size;
        unit.size -= size;
    }
    return std::nullopt;
}

bool samePicture(const H264Scanner::Slice &a, const H264Scanner::Slice &b)
{
    return a.sequence == b.sequence && a.frameNumber == b.frameNumber && a.idrNumber == b.idrNumber &&
           a.order == b.order && a.shape == b.shape && a.idr == b.idr && a.reference == b.reference;
}

// The slices of one packet.
struct SlicesSeen
{
    std::optional<H264Scanner::Slice> first;
    std::uint32_t lastMacroblock = 0;
    bool onePicture = true;
    bool intra = true;     // all of them
    bool hasIntra = false; // some of them

    void add(const std::optional<H264Scanner::Slice> &slice)
    {
        if (!slice || slice->type > kSliceI) {
            onePicture = false;
            return;
        }
        // From the first macroblock on, in ascending order, and all of the same picture.
        if (first ? !samePicture(*first, *slice) || slice->firstMacroblock <= lastMacroblock
                  : slice->firstMacroblock != 0)
            onePicture = false;
        lastMacroblock = slice->firstMacroblock;
        intra = intra && slice->type == kSliceI;
        hasIntra = hasIntra || slice->type == kSliceI;
        if (!first)
            first = slice;
    }
};

} // namespace

H264Scanner::H264Scanner(std::unique_ptr<OrderNumbers> numbers)
    : orderNumbers(std::move(numbers))
{
}

void H264Scanner::scanSequence(Bytes unit, PacketFacts &facts)
{
    BitReader reader(withoutFirst(unit, 1));
    const std::uint32_t profile = reader.readBits(8);
    reader.skipBits(16);
    const std::uint32_t id = reader.readUe();
    if (reader.failed() || id >= sequences.size()) {
        facts.doubts |= kParametersChanged;
        return;
    }
    sequences.at(id) = readSequence(reader, profile);
    noteParameters(kSequenceSet << 16 | id, unit, facts);
}

void H264Scanner::scanPicture(Bytes unit, PacketFacts &facts)
{
    BitReader reader(withoutFirst(unit, 1));
    const std::uint32_t id = reader.readUe();
    const std::uint32_t sequence = reader.readUe();
    if (reader.failed() || id >= sequenceOfPictureSet.size() || sequence >= sequences.size()) {
        facts.doubts |= kParametersChanged;
        return;
    }
    sequenceOfPictureSet.at(id) = sequence;
    noteParameters(kPictureSet << 16 | id, unit, facts);
}

std::optional<H264Scanner::Slice> H264Scanner::readSlice(Bytes unit) const
{
    BitReader reader(withoutFirst(unit, 1));
    Slice slice;
    slice.idr = (unit.data[0] & 0x1F) == kIdrSlice;
    slice.reference = (unit.data[0] & 0x60) != 0;
    slice.firstMacroblock = reader.readUe();
    slice.type = reader.readUe();
    const std::uint32_t pictureSet = reader.readUe();
    if (reader.failed() || slice.type > 9 || pictureSet >= sequenceOfPictureSet.size() ||
        !sequenceOfPictureSet.at(pictureSet))
        return std::nullopt;
    slice.type %= 5;
    slice.sequence = *sequenceOfPictureSet.at(pictureSet);
    const std::optional<Sequence> &sequence = sequences.at(slice.sequence);
    if (!sequence)
        return std::nullopt;

    if (sequence->separatePlanes)
        reader.skipBits(2);
    slice.frameNumber = reader.readBits(sequence->frameNumberBits);
    if (!sequence->framesOnly && reader.readFlag())
        slice.shape = reader.readFlag() ? PictureShape::BottomField : PictureShape::TopField;
    if (slice.idr)
        slice.idrNumber = reader.readUe();
    slice.order = reader.readBits(sequence->orderBits);
    return reader.failed() ? std::nullopt : std::optional(slice);
}

void H264Scanner::scanUnits(const AVPacket &packet, PacketFacts &facts)
{
    SlicesSeen slices;
    std::optional<Recovery> recovery;
    bool wellFormed = true;

    StartCodes units(packet.data, packet.size);
    Bytes unit;
    while (units.next(unit)) {
        if (unit.size < 2 || (unit.data[0] & 0x80) != 0) {
            wellFormed = false;
            continue;
        }
        const int type = unit.data[0] & 0x1F;
        const bool inFront = !slices.first; // What comes behind a slice and is none belongs to the next picture.
        if (type == kSlice || type == kIdrSlice)
            slices.add(readSlice(unit));
        else if (inFront && type == kSequenceSet)
            scanSequence(unit, facts);
        else if (inFront && type == kPictureSet)
            scanPicture(unit, facts);
        else if (inFront && type == kSupplement)
            recovery = recovery ? recovery : findRecovery(unit);
        else if (type != kFiller && !(inFront && type == kDelimiter)) // data partitions, extensions, ends of sequences
            wellFormed = false;
    }
    facts.order = orderNumbers->next(packet);
    if (packet.pts == AV_NOPTS_VALUE)
        facts.doubts |= kNoDisplayTime;
    if (!wellFormed || !slices.first || !slices.onePicture) {
        facts.doubts |= kNotOnePicture;
        return;
    }
    const Slice &first = *slices.first;
    const bool recovers = recovery && recovery->frames == 0;
    facts.shape = first.shape;
    facts.frameNumber = first.frameNumber;
    facts.reference = first.reference;
    facts.beginsSequence = facts.strict = first.idr;
    facts.tableRow = first.idr || recovers || slices.intra;
    facts.closedKey = slices.intra && (first.idr || (recovers && recovery->exact && !recovery->brokenLink));
    // The decoder takes the type of one of the slices for the picture's.
    if (slices.hasIntra && !slices.intra && !recovers)
        facts.doubts |= kTableRowUnclear;
}
