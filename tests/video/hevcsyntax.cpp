#include "tests/video/hevcsyntax.h"

namespace hevcsyntax {

namespace {

// profile_tier_level() of one sub-layer
BitWriter profileTierLevel(std::uint32_t profileIdc)
{
    return BitWriter().u(profileIdc, 8).u(0, 32).u(0, 48).u(93, 8);
}

} // namespace

QByteArray vps()
{
    BitWriter vps;
    vps.u(0, 4).u(3, 2).u(0, 6).u(0, 3).flag(true).u(0xFFFF, 16).append(profileTierLevel(1));
    vps.flag(false).ue(4).ue(2).ue(0).u(0, 6).ue(0).flag(false).flag(false);
    return vps.nalUnit(header(32));
}

QByteArray Sps::write() const
{
    BitWriter sps;
    sps.u(0, 4).u(maxSubLayersMinus1, 3).flag(true);
    sps.append(profileTierLevel(profileIdc));
    if (maxSubLayersMinus1 > 0)
        sps.u(0, 2 * int(maxSubLayersMinus1)).u(0, 2 * (8 - int(maxSubLayersMinus1)));
    sps.ue(id).ue(1).ue(width).ue(height).flag(false).ue(0).ue(0).ue(log2MaxPicOrderCntLsbMinus4);
    sps.flag(false).ue(maxDecPicBufferingMinus1).ue(2).ue(0);
    sps.ue(log2MinCbSizeMinus3).ue(1).ue(0).ue(2).ue(0).ue(0);
    sps.flag(false).flag(false).flag(false).flag(false); // scaling lists, AMP, SAO, PCM
    sps.ue(std::uint32_t(shortTermRps.size()));
    for (const BitWriter &rps : shortTermRps)
        sps.append(rps);
    sps.flag(longTermPics.has_value()).append(longTermPics.value_or(BitWriter()));
    sps.flag(temporalMvpEnabled).flag(false).flag(false).flag(false);
    return sps.nalUnit(header(33));
}

QByteArray Pps::write() const
{
    BitWriter pps;
    pps.ue(id).ue(spsId).flag(dependentSliceSegmentsEnabled).flag(outputFlagPresent).u(numExtraSliceHeaderBits, 3);
    pps.flag(false).flag(cabacInitPresent).ue(numRefIdxDefaultActiveMinus1).ue(numRefIdxDefaultActiveMinus1);
    pps.se(0).flag(false).flag(false).flag(false).se(0).se(0).flag(sliceChromaQpOffsetsPresent);
    pps.flag(weightedPred).flag(false).flag(false).flag(tiles.has_value()).flag(entropyCodingSyncEnabled);
    pps.append(tiles.value_or(BitWriter())).flag(false);
    pps.flag(deblockingFilterOverrideEnabled);
    if (deblockingFilterOverrideEnabled)
        pps.flag(true).flag(false).se(0).se(0);
    pps.flag(false).flag(listsModificationPresent).ue(0).flag(sliceSegmentHeaderExtensionPresent);
    pps.flag(extension.has_value()).append(extension.value_or(BitWriter()));
    return pps.nalUnit(header(34));
}

QByteArray Slice::write(const Sps &sps, const Pps &pps) const
{
    BitWriter slice;
    const auto add = [&](const std::optional<BitWriter> &part, const BitWriter &simplest) {
        slice.append(part.value_or(simplest));
    };
    slice.flag(first);
    if (nalUnitType >= BlaWLp && nalUnitType <= 23)
        slice.flag(noOutputOfPriorPics);
    slice.ue(ppsId);
    if (!first) {
        if (pps.dependentSliceSegmentsEnabled)
            slice.flag(dependent);
        slice.u(address, 2); // of 2 x 2 coding tree blocks
    }
    if (!dependent) {
        slice.u(0, int(pps.numExtraSliceHeaderBits)).ue(type);
        if (pps.outputFlagPresent)
            slice.flag(picOutput);
        if (nalUnitType != IdrWRadl && nalUnitType != IdrNLp) {
            slice.u(picOrderCntLsb, int(sps.log2MaxPicOrderCntLsbMinus4) + 4);
            add(shortTermRps, BitWriter().flag(false).u(0, sps.shortTermRps.empty() ? 0 : 1).ue(0).ue(0));
            if (sps.longTermPics)
                add(longTermPics, BitWriter().ue(0));
            if (sps.temporalMvpEnabled)
                slice.flag(temporalMvpEnabled);
        }
        if (type != I)
            add(prediction, BitWriter().flag(false).ue(0));
        slice.se(qpDelta);
        if (pps.sliceChromaQpOffsetsPresent)
            add(chromaQpOffsets, BitWriter().se(0).se(0));
        if (pps.deblockingFilterOverrideEnabled)
            add(loopFilters, BitWriter().flag(false));
    }
    if (pps.tiles || pps.entropyCodingSyncEnabled)
        add(entryPoints, BitWriter().ue(0));
    if (pps.sliceSegmentHeaderExtensionPresent)
        add(headerExtension, BitWriter().ue(0));
    slice.flag(alignmentBitEqualToOne).align(false).u(0x5A5A, 16); // and no more than a little slice data
    return slice.nalUnit(header(nalUnitType, temporalId));
}

} // namespace hevcsyntax
