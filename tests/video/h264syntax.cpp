#include "tests/video/h264syntax.h"

namespace h264syntax {

namespace {

// As many macroblocks as the picture has: I_PCM in grey, or skipped.
void writeSliceData(BitWriter &slice, bool intra, std::uint32_t mbs)
{
    if (!intra) {
        slice.ue(mbs); // mb_skip_run
        return;
    }
    for (std::uint32_t mb = 0; mb < mbs; ++mb)
        slice.ue(25).align(false).bytes(QByteArray(384, '\x80')); // mb_type, pcm_alignment_zero_bit, samples
}

} // namespace

QByteArray Slice::write(const Sps &sps, const Pps &pps) const
{
    const bool intra = type % 5 == I % 5;
    const bool bi = type % 5 == B % 5;
    BitWriter slice;
    const auto add = [&](const std::optional<BitWriter> &part, const BitWriter &simplest) {
        slice.append(part.value_or(simplest));
    };
    slice.ue(firstMbInSlice).ue(type).ue(ppsId).u(frameNum, int(sps.log2MaxFrameNumMinus4) + 4);
    if (!sps.frameMbsOnly) {
        slice.flag(field);
        if (field)
            slice.flag(bottomField);
    }
    if (idr)
        slice.ue(idrPicId);
    const bool bottomOfFrame = pps.bottomFieldPicOrderInFramePresent && !field;
    if (sps.picOrderCntType == 0) {
        slice.u(picOrderCntLsb, int(sps.log2MaxPicOrderCntLsbMinus4) + 4);
        if (bottomOfFrame)
            slice.se(deltaPicOrderCntBottom);
    } else if (sps.picOrderCntType == 1 && !sps.deltaPicOrderAlwaysZero) {
        slice.se(deltaPicOrderCnt[0]);
        if (bottomOfFrame)
            slice.se(deltaPicOrderCnt[1]);
    }
    if (pps.redundantPicCntPresent)
        slice.ue(redundantPicCnt);
    if (bi)
        slice.flag(true); // direct_spatial_mv_pred_flag
    if (!intra) {
        add(numRefIdxOverride, BitWriter().flag(false));
        add(refPicListModification, BitWriter().u(0, bi ? 2 : 1));
    }
    if (predWeightTable)
        slice.append(*predWeightTable);
    if (refIdc != 0)
        add(decRefPicMarking, BitWriter().u(0, idr ? 2 : 1));
    if (pps.entropyCodingMode && !intra)
        slice.ue(cabacInitIdc);
    slice.se(qpDelta);
    if (pps.deblockingFilterControlPresent)
        add(deblocking, BitWriter().ue(0).se(0).se(0));
    if (pps.entropyCodingMode)
        slice.align(cabacAlignmentOneBit).u(0x5A5A, 16);
    else
        writeSliceData(slice, intra, sps.widthInMbs * sps.heightInMapUnits * (sps.frameMbsOnly || field ? 1 : 2));
    return slice.nalUnit(QByteArray(1, char(refIdc << 5 | (idr ? 5 : 1))));
}

} // namespace h264syntax
