#include "video/bitstream/hevc_rps.h"

namespace quorvale::hevc {

namespace {

constexpr std::uint32_t kLargestDeltaPocMinus1 = (1U << 15) - 1; // 7.4.8

// What one set tells about the pictures of another one: those of its negative pictures, its positive ones, itself.
struct InterRps
{
    struct Flags
    {
        bool usedByCurr = false; // used_by_curr_pic_flag[j]
        bool useDelta = true;    // use_delta_flag[j]
    };

    const ShortTermRps &ref; // RefRpsIdx
    std::int32_t deltaRps = 0;
    std::array<Flags, kMaxDpbSize + 1> flags{};

    // Adds the j-th picture of `ref`, or `ref` itself, to the side on which it lies.
    void add(ShortTermRps &rps, std::size_t j, std::int32_t deltaPoc, bool wantNegative) const
    {
        if (!flags.at(j).useDelta || deltaPoc == 0 || (deltaPoc < 0) != wantNegative)
            return;
        (wantNegative ? rps.negative : rps.positive).push_back({deltaPoc, flags.at(j).usedByCurr});
    }
};

// (7-61), (7-62): on each side, the pictures of `ref` from the nearest to the farthest
ShortTermRps derive(const InterRps &inter)
{
    const std::vector<ShortTermRps::Picture> &negative = inter.ref.negative;
    const std::vector<ShortTermRps::Picture> &positive = inter.ref.positive;
    ShortTermRps rps;
    for (const bool wantNegative : {true, false}) {
        const std::vector<ShortTermRps::Picture> &other = wantNegative ? positive : negative;
        const std::vector<ShortTermRps::Picture> &same = wantNegative ? negative : positive;
        const std::size_t firstOfOther = wantNegative ? negative.size() : 0;
        const std::size_t firstOfSame = wantNegative ? 0 : negative.size();
        for (std::size_t j = other.size(); j-- > 0;)
            inter.add(rps, firstOfOther + j, other[j].deltaPoc + inter.deltaRps, wantNegative);
        inter.add(rps, inter.ref.numDeltaPocs(), inter.deltaRps, wantNegative);
        for (std::size_t j = 0; j < same.size(); ++j)
            inter.add(rps, firstOfSame + j, same[j].deltaPoc + inter.deltaRps, wantNegative);
    }
    return rps;
}

// ITU-T H.265, 7.3.7, with inter_ref_pic_set_prediction_flag
std::optional<ShortTermRps> parseInterRps(BitReader &reader, const std::vector<ShortTermRps> &previous,
                                          bool inSliceHeader)
{
    const std::uint32_t deltaIdxMinus1 = inSliceHeader ? reader.readUe() : 0; // delta_idx_minus1
    if (deltaIdxMinus1 >= previous.size())
        return std::nullopt;
    InterRps inter{previous[previous.size() - 1 - deltaIdxMinus1]};
    const bool deltaRpsSign = reader.readFlag();             // delta_rps_sign
    const std::uint32_t absDeltaRpsMinus1 = reader.readUe(); // abs_delta_rps_minus1
    if (absDeltaRpsMinus1 > kLargestDeltaPocMinus1)
        return std::nullopt;
    inter.deltaRps = static_cast<std::int32_t>(absDeltaRpsMinus1 + 1) * (deltaRpsSign ? -1 : 1);
    for (std::size_t j = 0; j <= inter.ref.numDeltaPocs(); ++j) {
        InterRps::Flags &flags = inter.flags.at(j);
        flags.usedByCurr = reader.readFlag(); // used_by_curr_pic_flag[j]
        if (!flags.usedByCurr)
            flags.useDelta = reader.readFlag(); // use_delta_flag[j]
    }
    return derive(inter);
}

// ITU-T H.265, 7.3.7: delta_poc_s0_minus1[i], used_by_curr_pic_s0_flag[i]; delta_poc_s1_minus1[i], ...
bool parsePictures(BitReader &reader, std::uint32_t count, std::int32_t sign,
                   std::vector<ShortTermRps::Picture> &pictures)
{
    std::int32_t deltaPoc = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t deltaPocMinus1 = reader.readUe(); // delta_poc_s0_minus1[i], delta_poc_s1_minus1[i]
        if (deltaPocMinus1 > kLargestDeltaPocMinus1)
            return false;
        deltaPoc += sign * static_cast<std::int32_t>(deltaPocMinus1 + 1);
        pictures.push_back({deltaPoc, reader.readFlag()}); // used_by_curr_pic_s0_flag[i], used_by_curr_pic_s1_flag[i]
    }
    return true;
}

} // namespace

// ITU-T H.265, 7.3.7, st_ref_pic_set()
std::optional<ShortTermRps> parseShortTermRps(BitReader &reader, const std::vector<ShortTermRps> &previous,
                                              bool inSliceHeader)
{
    std::optional<ShortTermRps> rps;
    if (!previous.empty() && reader.readFlag()) { // inter_ref_pic_set_prediction_flag
        rps = parseInterRps(reader, previous, inSliceHeader);
    } else {
        const std::uint32_t numNegativePics = reader.readUe(); // num_negative_pics
        const std::uint32_t numPositivePics = reader.readUe(); // num_positive_pics
        rps.emplace();
        if (numNegativePics > kMaxDpbSize || numPositivePics > kMaxDpbSize ||
            !parsePictures(reader, numNegativePics, -1, rps->negative) ||
            !parsePictures(reader, numPositivePics, 1, rps->positive))
            return std::nullopt;
    }
    if (reader.failed() || !rps || rps->numDeltaPocs() > kMaxDpbSize)
        return std::nullopt;
    return rps;
}

} // namespace quorvale::hevc
