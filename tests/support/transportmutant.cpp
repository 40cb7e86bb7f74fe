#include "tests/support/transportmutant.h"

#include "tests/support/seededrandom.h"

#include <algorithm>
#include <iterator>

namespace transportmutant {

namespace {

constexpr std::size_t kMostPlacesLog2 = 5; // 32 places
constexpr std::size_t kLongestBurst = 600; // bytes: into a third packet
constexpr std::size_t kLongestSegment = 400;
constexpr std::size_t kLongestZeroedRun = 65536;
constexpr std::size_t kDroppedInARow = 16;
constexpr std::size_t kMostRepeats = 8;
constexpr std::size_t kAfterStartCode = 32; // of the bytes after a start code, those that may be hit

// A few places in most mutants, many in some.
std::size_t placeCount(SeededRandom &random)
{
    return std::size_t{1} << random.below(kMostPlacesLog2 + 1);
}

std::size_t packetCount(const Bytes &stream)
{
    return stream.size() / kPacketSize;
}

Bytes::iterator packetAt(Bytes &stream, std::size_t packet)
{
    return stream.begin() + static_cast<std::ptrdiff_t>(packet * kPacketSize);
}

bool beginsUnit(const Bytes &stream, std::size_t packet)
{
    return (stream[packet * kPacketSize + 1] & 0x40) != 0;
}

// A run of packets within a stream of `packets`.
struct Segment
{
    std::size_t first;
    std::size_t count;
};

Segment anySegment(SeededRandom &random, std::size_t packets)
{
    const std::size_t count = std::min(1 + random.below(kLongestSegment), packets);
    return {random.below(packets - count + 1), count};
}

Bytes copyOf(const Bytes &stream, const Segment &segment)
{
    const auto begin = stream.begin() + static_cast<std::ptrdiff_t>(segment.first * kPacketSize);
    return Bytes(begin, begin + static_cast<std::ptrdiff_t>(segment.count * kPacketSize));
}

void erase(Bytes &stream, const Segment &segment)
{
    stream.erase(packetAt(stream, segment.first), packetAt(stream, segment.first + segment.count));
}

void insert(Bytes &stream, std::size_t packet, const Bytes &packets)
{
    stream.insert(packetAt(stream, packet), packets.begin(), packets.end());
}

void flipBit(Bytes &stream, std::size_t byte, SeededRandom &random)
{
    stream[byte] = static_cast<std::uint8_t>(stream[byte] ^ (1U << random.below(8)));
}

void flipBits(Bytes &stream, SeededRandom &random)
{
    for (std::size_t place = placeCount(random); place > 0 && !stream.empty(); --place)
        flipBit(stream, random.below(stream.size()), random);
}

void damagePacketHeaders(Bytes &stream, SeededRandom &random)
{
    for (std::size_t place = placeCount(random); place > 0 && packetCount(stream) > 0; --place)
        flipBit(stream, random.below(packetCount(stream)) * kPacketSize + random.below(4), random);
}

// The first byte after each start code. Those that two packets share are not found; there are enough others.
std::vector<std::size_t> startCodes(const Bytes &stream)
{
    std::vector<std::size_t> found;
    for (std::size_t at = 0; at + 3 < stream.size(); ++at) {
        if (stream[at] == 0 && stream[at + 1] == 0 && stream[at + 2] == 1)
            found.push_back(at + 3);
    }
    return found;
}

void damagePictureHeaders(Bytes &stream, SeededRandom &random)
{
    const std::vector<std::size_t> codes = startCodes(stream);
    for (std::size_t place = placeCount(random); place > 0 && !codes.empty(); --place) {
        const std::size_t at = codes[random.below(codes.size())] + random.below(kAfterStartCode);
        if (at < stream.size())
            stream[at] = random.byte();
    }
}

void burst(Bytes &stream, SeededRandom &random)
{
    for (std::size_t place = placeCount(random); place > 0 && !stream.empty(); --place) {
        const std::size_t first = random.below(stream.size());
        const std::size_t end = std::min(first + 1 + random.below(kLongestBurst), stream.size());
        for (std::size_t at = first; at < end; ++at)
            stream[at] = random.byte();
    }
}

void dropPackets(Bytes &stream, SeededRandom &random, std::size_t inARow)
{
    for (std::size_t place = placeCount(random); place > 0 && packetCount(stream) > 0; --place) {
        const std::size_t first = random.below(packetCount(stream));
        erase(stream, {first, std::min(inARow, packetCount(stream) - first)});
    }
}

void doublePackets(Bytes &stream, SeededRandom &random)
{
    for (std::size_t place = placeCount(random); place > 0 && packetCount(stream) > 0; --place) {
        const std::size_t packet = random.below(packetCount(stream));
        insert(stream, packet, copyOf(stream, {packet, 1}));
    }
}

void swapPackets(Bytes &stream, SeededRandom &random)
{
    for (std::size_t place = placeCount(random); place > 0 && packetCount(stream) > 0; --place) {
        const auto one = packetAt(stream, random.below(packetCount(stream)));
        const auto another = packetAt(stream, random.below(packetCount(stream)));
        if (one != another)
            std::swap_ranges(one, one + kPacketSize, another);
    }
}

void spliceIn(Bytes &stream, SeededRandom &random, const Bytes &other)
{
    const Bytes &source = packetCount(other) > 0 ? other : stream;
    if (packetCount(source) == 0)
        return;
    const Bytes segment = copyOf(source, anySegment(random, packetCount(source)));
    const std::size_t place = random.below(packetCount(stream) + 1);
    if (random.below(2) == 0)
        erase(stream, {place, std::min(segment.size() / kPacketSize, packetCount(stream) - place)});
    insert(stream, place, segment);
}

void moveSegment(Bytes &stream, SeededRandom &random)
{
    if (packetCount(stream) == 0)
        return;
    const Segment segment = anySegment(random, packetCount(stream));
    const Bytes moved = copyOf(stream, segment);
    erase(stream, segment);
    insert(stream, random.below(packetCount(stream) + 1), moved);
}

void repeatSegment(Bytes &stream, SeededRandom &random)
{
    if (packetCount(stream) == 0)
        return;
    const Segment segment = anySegment(random, packetCount(stream));
    const Bytes repeated = copyOf(stream, segment);
    for (std::size_t repeats = 1 + random.below(kMostRepeats); repeats > 0; --repeats)
        insert(stream, segment.first, repeated);
}

// Cuts before a packet that begins a unit, or before one that continues a unit.
void truncateBeforePacket(Bytes &stream, SeededRandom &random, bool beginningAUnit)
{
    std::vector<std::size_t> packets;
    for (std::size_t packet = 1; packet < packetCount(stream); ++packet) {
        if (beginsUnit(stream, packet) == beginningAUnit)
            packets.push_back(packet);
    }
    if (!packets.empty())
        stream.resize(packets[random.below(packets.size())] * kPacketSize);
}

void truncateInPacket(Bytes &stream, SeededRandom &random)
{
    if (packetCount(stream) > 0)
        stream.resize(random.below(packetCount(stream)) * kPacketSize + 1 + random.below(kPacketSize - 1));
}

void zeroRun(Bytes &stream, SeededRandom &random)
{
    if (stream.empty())
        return;
    const std::size_t first = random.below(stream.size());
    const std::size_t end = std::min(first + 1 + random.below(kLongestZeroedRun), stream.size());
    std::fill(stream.begin() + static_cast<std::ptrdiff_t>(first), stream.begin() + static_cast<std::ptrdiff_t>(end),
              std::uint8_t{0});
}

void markErrors(Bytes &stream, SeededRandom &random)
{
    for (std::size_t place = placeCount(random); place > 0 && packetCount(stream) > 0; --place) {
        std::uint8_t &flags = stream[random.below(packetCount(stream)) * kPacketSize + 1];
        flags = static_cast<std::uint8_t>(flags | 0x80);
    }
}

// Where the five bytes of each presentation or decode timestamp begin.
std::vector<std::size_t> timeStamps(const Bytes &stream)
{
    std::vector<std::size_t> found;
    for (const std::size_t code : startCodes(stream)) {
        // start code | stream | length, 2 | flags, 2 | size of the rest | timestamps
        const bool isSoundOrPicture = (stream[code] >= 0xC0 && stream[code] < 0xF0) || stream[code] == 0xBD;
        if (!isSoundOrPicture || code + 16 > stream.size())
            continue;
        if ((stream[code + 4] & 0x80) != 0)
            found.push_back(code + 6);
        if ((stream[code + 4] & 0xC0) == 0xC0)
            found.push_back(code + 11);
    }
    return found;
}

void changeTimeStamps(Bytes &stream, SeededRandom &random)
{
    const std::vector<std::size_t> stamps = timeStamps(stream);
    for (std::size_t place = placeCount(random); place > 0 && !stamps.empty(); --place) {
        const std::size_t at = stamps[random.below(stamps.size())];
        const std::size_t manner = random.below(3);
        // The lowest bit of the first, third and fifth byte is a marker, and the first one's upper half tells what the
        // timestamp is: kept, so that it is taken for one.
        for (std::size_t byte = 0; byte < 5; ++byte) {
            const unsigned kept = byte == 0 ? 0xF1U : byte % 2 == 0 ? 0x01U : 0x00U;
            const unsigned noise = manner == 0 ? random.byte() : manner == 1 ? 0xFFU : 0x00U;
            stream[at + byte] = static_cast<std::uint8_t>((stream[at + byte] & kept) | (noise & ~kept));
        }
    }
}

// A kind that takes nothing from the other stream; `settings` are the function's own.
template <auto damage, auto... settings>
void alone(Bytes &stream, SeededRandom &random, const Bytes & /*other*/)
{
    damage(stream, random, settings...);
}

struct Damage
{
    Kind kind;
    const char *name;
    void (*apply)(Bytes &stream, SeededRandom &random, const Bytes &other);
};

constexpr Damage kDamages[] = {
    {Kind::BitsFlipped, "bits flipped", alone<flipBits>},
    {Kind::PacketHeadersDamaged, "packet headers damaged", alone<damagePacketHeaders>},
    {Kind::PictureHeadersDamaged, "picture headers damaged", alone<damagePictureHeaders>},
    {Kind::BytesBurst, "bursts of noise", alone<burst>},
    {Kind::PacketDropped, "single packets dropped", alone<dropPackets, 1>},
    {Kind::PacketsDropped, "packets dropped in a row", alone<dropPackets, kDroppedInARow>},
    {Kind::PacketDoubled, "packets doubled", alone<doublePackets>},
    {Kind::PacketsSwapped, "packets swapped", alone<swapPackets>},
    {Kind::SegmentSplicedIn, "segment spliced in", spliceIn},
    {Kind::SegmentMoved, "segment moved", alone<moveSegment>},
    {Kind::SegmentRepeated, "segment repeated", alone<repeatSegment>},
    {Kind::TruncatedBetweenUnits, "truncated between units", alone<truncateBeforePacket, true>},
    {Kind::TruncatedInUnit, "truncated in a unit", alone<truncateBeforePacket, false>},
    {Kind::TruncatedInPacket, "truncated in a packet", alone<truncateInPacket>},
    {Kind::Emptied, "emptied", [](Bytes &stream, SeededRandom &, const Bytes &) { stream.clear(); }},
    {Kind::ZeroedRun, "zeroed run", alone<zeroRun>},
    {Kind::ErrorsMarked, "errors marked", alone<markErrors>},
    {Kind::TimeStampsChanged, "timestamps changed", alone<changeTimeStamps>},
};

const Damage &damageOf(Kind kind)
{
    return *std::find_if(std::begin(kDamages), std::end(kDamages), [&](const Damage &row) { return row.kind == kind; });
}

} // namespace

const char *nameOf(Kind kind)
{
    return damageOf(kind).name;
}

Bytes mutate(Bytes base, Kind kind, std::uint64_t seed, const Bytes &other)
{
    SeededRandom random(seed);
    damageOf(kind).apply(base, random, other);
    return base;
}

} // namespace transportmutant
