#include "video/ffmpeg/ffv1slices.h"

#include "video/ffmpeg/picturelimits.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace quorvale::ffmpeg {

namespace {

// 123 slices of 1920x1080 with large contexts and alpha; encoders make up to 30. The decoder holds two or three
// pictures beside them, whatever their size: less than a budget of pictures. From FFmpeg 7.1 on it gives slices back
// and takes new ones while it decodes, and glibc does not put one in the place of another: that takes twice as much.
constexpr std::int64_t kMostSliceBytes = 64 * kMiB;

// Of larger pictures, for which a process may take 1 GiB: the encoder of FFmpeg 9 makes slices of 175 MB for 8K.
constexpr std::int64_t kMostSliceBytesOfLarge = 192 * kMiB;
constexpr std::int64_t kMostBytesForLarge = 960 * kMiB;
constexpr std::int64_t kHeldPictures = 3;

// What FFmpeg uses for each slice: tables, three rows of four planes in 32 bits, as wide as the slice, and the
// contexts.
constexpr std::int64_t kTableBytes = 40'000;
constexpr std::int64_t kRowBytesAPixel = 48;
constexpr std::int64_t kBytesAContext = 32;

constexpr int kParityBytes = 4; // configuration_record_crc_parity
constexpr std::int64_t kMostSlices = 1024;
constexpr std::int64_t kMostContexts = 32768;
constexpr int kMostQuantTableSets = 8;

// RFC 9043, 3.8.1.4: default_state_transition
constexpr std::array<std::uint8_t, 256> kOneState{
    0,   0,   0,   0,   0,   0,   0,   0,   20,  21,  22,  23,  24,  25,  26,  27,  28,  29,  30,  31,  32,  33,
    34,  35,  36,  37,  37,  38,  39,  40,  41,  42,  43,  44,  45,  46,  47,  48,  49,  50,  51,  52,  53,  54,
    55,  56,  56,  57,  58,  59,  60,  61,  62,  63,  64,  65,  66,  67,  68,  69,  70,  71,  72,  73,  74,  75,
    75,  76,  77,  78,  79,  80,  81,  82,  83,  84,  85,  86,  87,  88,  89,  90,  91,  92,  93,  94,  94,  95,
    96,  97,  98,  99,  100, 101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 111, 112, 113, 114, 114, 115, 116,
    117, 118, 119, 120, 121, 122, 123, 124, 125, 126, 127, 128, 129, 130, 131, 132, 133, 133, 134, 135, 136, 137,
    138, 139, 140, 141, 142, 143, 144, 145, 146, 147, 148, 149, 150, 151, 152, 152, 153, 154, 155, 156, 157, 158,
    159, 160, 161, 162, 163, 164, 165, 166, 167, 168, 169, 170, 171, 171, 172, 173, 174, 175, 176, 177, 178, 179,
    180, 181, 182, 183, 184, 185, 186, 187, 188, 189, 190, 190, 191, 192, 194, 194, 195, 196, 197, 198, 199, 200,
    201, 202, 202, 204, 205, 206, 207, 208, 209, 209, 210, 211, 212, 213, 215, 215, 216, 217, 218, 219, 220, 220,
    222, 223, 224, 225, 226, 227, 227, 229, 229, 230, 231, 232, 234, 234, 235, 236, 237, 238, 239, 240, 241, 242,
    243, 244, 245, 246, 247, 248, 248, 0,   0,   0,   0,   0,   0,   0};

// The states of one kind of number.
struct States
{
    States() { bits.fill(128); }
    std::array<std::uint8_t, 32> bits{};
};

// RFC 9043, 3.8.1
class RangeDecoder
{
public:
    RangeDecoder(const std::uint8_t *data, int size)
        : m_next(data)
        , m_end(data + size)
    {
        m_low = nextByte() << 8;
        m_low |= nextByte();
    }

    /// The last `bytes` are not its own.
    void leaveOut(int bytes) { m_end -= std::min<std::ptrdiff_t>(bytes, m_end - m_next); }

    bool readFlag(States &states) { return readBit(states.bits[0]); }

    // 3.8.1.2; a negative number of more than 31 bits is none
    std::int64_t readSymbol(States &states, bool isSigned = false)
    {
        if (readBit(states.bits[0]))
            return 0;
        std::size_t exponent = 0;
        while (readBit(states.bits[1 + std::min<std::size_t>(exponent, 9)])) {
            if (++exponent > 31)
                return -1;
        }
        std::int64_t value = 1;
        for (std::size_t bit = exponent; bit > 0; --bit)
            value = value * 2 + (readBit(states.bits[22 + std::min<std::size_t>(bit - 1, 9)]) ? 1 : 0);
        const bool isNegative = isSigned && readBit(states.bits[11 + std::min<std::size_t>(exponent, 10)]);
        return isNegative ? -value : value;
    }

private:
    std::uint32_t nextByte() { return m_next < m_end ? *m_next++ : 0; }

    bool readBit(std::uint8_t &state)
    {
        const std::uint32_t rangeOfOne = m_range * state >> 8;
        m_range -= rangeOfOne;
        const bool bit = m_low >= m_range;
        if (bit) {
            m_low -= m_range;
            m_range = rangeOfOne;
            state = kOneState[state];
        } else {
            state = static_cast<std::uint8_t>(256 - kOneState[256U - state]);
        }
        if (m_range < 0x100) {
            m_range <<= 8;
            m_low = m_low << 8 | nextByte();
        }
        return bit;
    }

    const std::uint8_t *m_next;
    const std::uint8_t *m_end;
    std::uint32_t m_range = 0xFF00;
    std::uint32_t m_low = 0;
};

// RFC 9043, 4.10: how many contexts a set of five tables makes; 0 if it is none.
std::int64_t readQuantTableSet(RangeDecoder &header)
{
    std::int64_t contexts = 1;
    for (int table = 0; table < 5; ++table) {
        States states;
        std::int64_t steps = 0;
        for (std::int64_t length = 0; length < 128; ++steps) {
            const std::int64_t run = header.readSymbol(states) + 1; // len_minus1
            if (run <= 0 || run > 128 - length)
                return 0;
            length += run;
        }
        contexts *= 2 * steps - 1;
        if (contexts > kMostContexts)
            return 0;
    }
    return (contexts + 1) / 2;
}

struct Claim
{
    std::int64_t sliceBytes = 0;
    std::int64_t pictureBytes = 0;
};

// RFC 9043, 4.2, up to the quantization tables. Nothing if they cannot be read.
std::optional<Claim> claimOf(const AVCodecParameters &video)
{
    RangeDecoder header(video.extradata, video.extradata_size);
    States states;
    const std::int64_t version = header.readSymbol(states);
    if (version > 2) {
        header.leaveOut(kParityBytes);
        header.readSymbol(states); // micro_version
    }
    if (header.readSymbol(states) > 1) { // coder_type
        for (int i = 1; i < 256; ++i)
            header.readSymbol(states, true); // state_transition_delta
    }
    header.readSymbol(states);                           // colorspace_type
    const std::int64_t bits = header.readSymbol(states); // bits_per_raw_sample
    const bool hasChroma = header.readFlag(states);
    const bool isChromaHalved = header.readSymbol(states) > 0; // log2_h_chroma_subsample
    header.readSymbol(states);                                 // log2_v_chroma_subsample
    const bool hasAlpha = header.readFlag(states);
    const std::int64_t columns = header.readSymbol(states) + 1; // num_h_slices_minus1
    const std::int64_t rows = header.readSymbol(states) + 1;    // num_v_slices_minus1
    const std::int64_t sets = header.readSymbol(states);        // quant_table_set_count
    if (columns <= 0 || rows <= 0 || columns > kMostSlices / rows || sets <= 0 || sets > kMostQuantTableSets)
        return std::nullopt;
    std::int64_t contexts = 0;
    for (std::int64_t set = 0; set < sets; ++set) {
        const std::int64_t inSet = readQuantTableSet(header);
        if (inSet == 0)
            return std::nullopt;
        contexts = std::max(contexts, inSet);
    }
    const std::int64_t planes = 1 + (hasChroma || version < 4 ? 1 : 0) + (hasAlpha ? 1 : 0);
    Claim claim;
    claim.sliceBytes = columns * rows * (kTableBytes + planes * contexts * kBytesAContext) +
                       rows * kRowBytesAPixel * std::max(video.width, 0);
    const std::int64_t samplesAPixel = 1 + (!hasChroma ? 0 : isChromaHalved ? 1 : 2) + (hasAlpha ? 1 : 0);
    claim.pictureBytes = pixelsClaimed(video.width, video.height) * samplesAPixel * (bits > 8 ? 2 : 1);
    return claim;
}

// Versions 0 and 1 have one slice, and no header here.
bool hasSlices(const AVCodecParameters &video)
{
    return video.codec_id == AV_CODEC_ID_FFV1 && video.extradata_size > 0;
}

} // namespace

std::int64_t sliceBytes(const AVCodecParameters &video)
{
    const std::optional<Claim> claim = hasSlices(video) ? claimOf(video) : Claim{};
    return claim ? claim->sliceBytes : kMostSliceBytesOfLarge + 1;
}

bool hasBoundedSlices(const AVCodecParameters &video)
{
    const std::optional<Claim> claim = hasSlices(video) ? claimOf(video) : Claim{};
    if (!claim)
        return false;
    if (pixelsClaimed(video.width, video.height) <= kUsualPixels)
        return claim->sliceBytes <= kMostSliceBytes;
    const std::int64_t room = (kMostBytesForLarge - kHeldPictures * claim->pictureBytes) / 2;
    return claim->sliceBytes <= std::clamp(room, kMostSliceBytes, kMostSliceBytesOfLarge);
}

} // namespace quorvale::ffmpeg
