#pragma once

#include "tests/support/bitwriter.h"

#include <QByteArray>

#include <cstdint>
#include <optional>
#include <vector>

/// Headers of HEVC streams written element by element; slices end after their headers. Where bits are given for a part,
/// they stand there instead of the simplest ones.
namespace hevcsyntax {

enum NalUnitType : int {
    TrailN = 0,
    TrailR = 1,
    RadlR = 7,
    RaslN = 8,
    RaslR = 9,
    BlaWLp = 16,
    IdrWRadl = 19,
    IdrNLp = 20,
    Cra = 21,
    EndOfSequence = 36,
};

/// nal_unit_header()
[[nodiscard]] inline QByteArray header(int type, int temporalId = 0, int layerId = 0)
{
    return QByteArray(1, char(type << 1 | layerId >> 5)) + char(layerId << 3 | (temporalId + 1));
}

/// A VPS with the id that the SPS names, of one layer.
[[nodiscard]] QByteArray vps();

struct Sps
{
    std::uint32_t id = 0;
    std::uint32_t maxSubLayersMinus1 = 0;
    std::uint32_t profileIdc = 1;
    std::uint32_t width = 32; // 2 x 2 coding tree blocks of 16
    std::uint32_t height = 32;
    std::uint32_t log2MaxPicOrderCntLsbMinus4 = 0;
    std::uint32_t maxDecPicBufferingMinus1 = 4;
    std::uint32_t log2MinCbSizeMinus3 = 0;
    std::vector<BitWriter> shortTermRps{};   ///< st_ref_pic_set(i)
    std::optional<BitWriter> longTermPics{}; ///< from num_long_term_ref_pics_sps on
    bool temporalMvpEnabled = false;

    [[nodiscard]] QByteArray write() const;
};

struct Pps
{
    std::uint32_t id = 0;
    std::uint32_t spsId = 0;
    bool dependentSliceSegmentsEnabled = false;
    bool outputFlagPresent = false;
    std::uint32_t numExtraSliceHeaderBits = 0;
    bool cabacInitPresent = false;
    std::uint32_t numRefIdxDefaultActiveMinus1 = 0; ///< of both lists
    bool sliceChromaQpOffsetsPresent = false;
    bool weightedPred = false;
    std::optional<BitWriter> tiles{}; ///< from num_tile_columns_minus1 on
    bool entropyCodingSyncEnabled = false;
    bool deblockingFilterOverrideEnabled = false;
    bool listsModificationPresent = false;
    bool sliceSegmentHeaderExtensionPresent = false;
    std::optional<BitWriter> extension{}; ///< from pps_range_extension_flag on

    [[nodiscard]] QByteArray write() const;
};

struct Slice
{
    enum Type : std::uint32_t { B = 0, P = 1, I = 2 };

    int nalUnitType = TrailR;
    int temporalId = 0;
    bool first = true;
    bool noOutputOfPriorPics = false;
    std::uint32_t ppsId = 0;
    bool dependent = false;
    std::uint32_t address = 0;
    std::uint32_t type = I;
    bool picOutput = true;
    std::uint32_t picOrderCntLsb = 0;
    std::optional<BitWriter> shortTermRps{}; ///< from short_term_ref_pic_set_sps_flag on
    std::optional<BitWriter> longTermPics{};
    bool temporalMvpEnabled = false;
    std::optional<BitWriter> prediction{}; ///< from num_ref_idx_active_override_flag on
    std::int32_t qpDelta = 0;
    std::optional<BitWriter> chromaQpOffsets{};
    std::optional<BitWriter> loopFilters{};
    std::optional<BitWriter> entryPoints{};
    std::optional<BitWriter> headerExtension{};
    bool alignmentBitEqualToOne = true;

    [[nodiscard]] QByteArray write(const Sps &sps, const Pps &pps) const;
};

} // namespace hevcsyntax
