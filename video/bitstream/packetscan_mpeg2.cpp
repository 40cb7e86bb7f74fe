#include "video/bitstream/packetscanners.h"
#include "video/bitstream/startcodes.h"
#include "video/ffmpeg/compat.h"

namespace {

enum Unit : std::uint8_t {
    kPicture = 0x00,
    kFirstSlice = 0x01,
    kLastSlice = 0xAF,
    kUserData = 0xB2,
    kSequence = 0xB3,
    kExtension = 0xB5,
    kGroup = 0xB8,
};

enum Extension : std::uint8_t { kQuantiser = 3, kPictureCoding = 8 };

enum Type : std::uint8_t { kTypeI = 1, kTypeP = 2, kTypeB = 3 };

constexpr std::uint8_t kWholeFrame = 3;
constexpr std::int64_t kMostBetween = std::int64_t{1} << 32; // pictures between two reference pictures

// What has been seen of one packet.
struct Picture
{
    int headers = 0;
    int codingExtensions = 0;
    int slices = 0;
    int type = 0;
    int row = 0; // of the latest slice
    const std::uint8_t *sequence = nullptr;
    const std::uint8_t *sequenceEnd = nullptr; // behind the extensions of the sequence header
    bool wellFormed = true;
    bool ownTables = false;
};

void seeHeader(Picture &seen, Bytes unit)
{
    ++seen.headers;
    seen.type = unit.size >= 3 ? unit.data[2] >> 3 & 7 : 0;
    if (seen.slices > 0)
        seen.wellFormed = false;
}

void seeExtension(Picture &seen, Bytes unit)
{
    const int kind = unit.size >= 2 ? unit.data[1] >> 4 : 0;
    if (seen.headers == 0) {
        seen.sequenceEnd = unit.data + unit.size;
    } else if (kind == kPictureCoding) {
        ++seen.codingExtensions;
        if (unit.size < 4 || (unit.data[3] & 3) != kWholeFrame)
            seen.wellFormed = false;
    } else if (kind == kQuantiser) {
        seen.ownTables = true;
    }
}

void seeSlice(Picture &seen, int row)
{
    // From top to bottom, the first row included. A row may consist of several slices.
    if (seen.headers != 1 || row < seen.row || row > seen.row + 1)
        seen.wellFormed = false;
    seen.row = row;
    ++seen.slices;
}

void see(Picture &seen, Bytes unit)
{
    const std::uint8_t code = unit.data[0];
    if (code == kPicture) {
        seeHeader(seen, unit);
    } else if (code >= kFirstSlice && code <= kLastSlice) {
        seeSlice(seen, code);
    } else if (code == kSequence) {
        if (seen.sequence || seen.headers > 0)
            seen.wellFormed = false;
        seen.sequence = unit.data;
        seen.sequenceEnd = unit.data + unit.size;
    } else if (code == kExtension) {
        seeExtension(seen, unit);
    } else if (code == kGroup) {
        if (seen.headers > 0)
            seen.wellFormed = false;
    } else if (code != kUserData) { // the end of a sequence, an error code, a system's packet
        seen.wellFormed = false;
    }
}

} // namespace

void Mpeg2Scanner::scanUnits(const AVPacket &packet, PacketFacts &facts)
{
    Picture seen;
    StartCodes units(packet.data, packet.size);
    Bytes unit;
    while (units.next(unit)) {
        // The code of a picture is a zero, and can be taken for one that trails.
        if (unit.size == 0)
            seen.wellFormed = false;
        else
            see(seen, unit);
    }
    const bool known = seen.type >= kTypeI && seen.type <= kTypeB;
    if (!seen.wellFormed || seen.headers != 1 || seen.codingExtensions != 1 || seen.slices == 0 || !known)
        facts.doubts |= kNotOnePicture;
    if (seen.sequence)
        noteParameters(kSequence, {seen.sequence, seen.sequenceEnd - seen.sequence}, facts);
    if (seen.ownTables)
        facts.doubts |= kParametersChanged;

    // An I or P picture is delivered when the next one comes, a B picture at once:
    //   decoded    I0 P3 B1 B2 P6 B4 B5      references before it    0 1 2 2 2 3 3 ...
    //   delivered  I0 B1 B2 P3 B4 B5 P6
    facts.reference = seen.type != kTypeB;
    if (facts.reference) {
        facts.order = ++references * kMostBetween;
        between = 0;
    } else {
        facts.order = (references - 1) * kMostBetween + ++between;
    }
    facts.tableRow = seen.type == kTypeI;
    facts.closedKey = seen.type == kTypeI && seen.sequence;
}
