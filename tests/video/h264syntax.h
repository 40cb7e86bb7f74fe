#pragma once

#include "tests/support/bitwriter.h"

#include <QByteArray>

#include <cstdint>
#include <optional>
#include <vector>

/// H.264 streams written element by element: pictures of few macroblocks, I_PCM or skipped. Everything in its range is
/// valid, and decodes.
namespace h264syntax {

struct Sps
{
    std::uint32_t id = 0;
    std::uint32_t log2MaxFrameNumMinus4 = 0;
    std::uint32_t picOrderCntType = 0;
    std::uint32_t log2MaxPicOrderCntLsbMinus4 = 0;
    bool deltaPicOrderAlwaysZero = false;
    std::int32_t offsetForNonRefPic = 0;
    std::int32_t offsetForTopToBottomField = 0;
    std::vector<std::int32_t> offsetForRefFrame;
    std::uint32_t maxNumRefFrames = 4;
    std::uint32_t widthInMbs = 1;
    std::uint32_t heightInMapUnits = 1;
    bool frameMbsOnly = true;
    bool mbAdaptiveFrameField = false;
    std::optional<std::uint32_t> maxNumReorderFrames = 2;

    /// Main profile, with a VUI that tells the depth of reordering, if any.
    [[nodiscard]] QByteArray write() const
    {
        BitWriter sps;
        sps.u(77, 8).u(0, 8).u(40, 8).ue(id).ue(log2MaxFrameNumMinus4).ue(picOrderCntType);
        if (picOrderCntType == 0)
            sps.ue(log2MaxPicOrderCntLsbMinus4);
        if (picOrderCntType == 1) {
            sps.flag(deltaPicOrderAlwaysZero).se(offsetForNonRefPic).se(offsetForTopToBottomField);
            sps.ue(std::uint32_t(offsetForRefFrame.size()));
            for (const std::int32_t offset : offsetForRefFrame)
                sps.se(offset);
        }
        sps.ue(maxNumRefFrames).flag(false).ue(widthInMbs - 1).ue(heightInMapUnits - 1).flag(frameMbsOnly);
        if (!frameMbsOnly)
            sps.flag(mbAdaptiveFrameField);
        sps.flag(true).flag(false);                // direct_8x8_inference_flag, frame_cropping_flag
        sps.flag(maxNumReorderFrames.has_value()); // vui_parameters_present_flag, nothing up to pic_struct_present_flag
        if (maxNumReorderFrames) {
            sps.u(0, 8).flag(true).flag(true).ue(0).ue(0).ue(16).ue(16);
            sps.ue(*maxNumReorderFrames).ue(maxNumRefFrames + 2);
        }
        return sps.nalUnit("\x67");
    }
};

struct Pps
{
    std::uint32_t id = 0;
    std::uint32_t spsId = 0;
    bool entropyCodingMode = false;
    bool bottomFieldPicOrderInFramePresent = false;
    std::uint32_t numRefIdxL0DefaultActiveMinus1 = 0;
    std::uint32_t numRefIdxL1DefaultActiveMinus1 = 0;
    bool weightedPred = false;
    std::uint32_t weightedBipredIdc = 0;
    std::int32_t picInitQpMinus26 = 0;
    bool deblockingFilterControlPresent = false;
    bool redundantPicCntPresent = false;

    [[nodiscard]] QByteArray write() const
    {
        BitWriter pps;
        pps.ue(id).ue(spsId).flag(entropyCodingMode).flag(bottomFieldPicOrderInFramePresent);
        pps.ue(0).ue(numRefIdxL0DefaultActiveMinus1).ue(numRefIdxL1DefaultActiveMinus1); // num_slice_groups_minus1
        pps.flag(weightedPred).u(weightedBipredIdc, 2).se(picInitQpMinus26).se(0).se(0);
        pps.flag(deblockingFilterControlPresent).flag(false).flag(redundantPicCntPresent);
        return pps.nalUnit("\x68");
    }
};

/// A slice of a whole frame or field. Where bits are given for a part, they stand there instead of the simplest ones.
struct Slice
{
    enum Type : std::uint32_t { P = 5, B = 6, I = 7 };

    std::uint32_t firstMbInSlice = 0;
    std::uint32_t type = P;
    std::uint32_t ppsId = 0;
    bool idr = false;
    std::uint32_t refIdc = 1;
    std::uint32_t frameNum = 0;
    bool field = false;
    bool bottomField = false;
    std::uint32_t idrPicId = 0;
    std::uint32_t picOrderCntLsb = 0;
    std::int32_t deltaPicOrderCntBottom = 0;
    std::int32_t deltaPicOrderCnt[2] = {0, 0};
    std::uint32_t redundantPicCnt = 0;
    std::optional<BitWriter> numRefIdxOverride{}; ///< from num_ref_idx_active_override_flag on
    std::optional<BitWriter> refPicListModification{};
    std::optional<BitWriter> predWeightTable{};
    std::optional<BitWriter> decRefPicMarking{};
    std::uint32_t cabacInitIdc = 0;
    std::int32_t qpDelta = 0;
    std::optional<BitWriter> deblocking{};
    bool cabacAlignmentOneBit = true;

    [[nodiscard]] QByteArray write(const Sps &sps, const Pps &pps) const;
};

} // namespace h264syntax
