#include "video/bitstream/hevc_sliceheader.h"

#include "video/bitstream/hevc_sliceheaderparser.h"

namespace quorvale::hevc {

std::uint32_t SliceHeader::numPicTotalCurr() const
{
    return countUsed(shortTermRps.negative) + countUsed(shortTermRps.positive) + countUsed(longTermPics);
}

bool SliceHeader::isOfSamePicture(const SliceHeader &other) const
{
    if (nalUnitType != other.nalUnitType || temporalId != other.temporalId || ppsId != other.ppsId ||
        noOutputOfPriorPics != other.noOutputOfPriorPics)
        return false;
    return dependentSliceSegment || other.dependentSliceSegment ||
           (picOutput == other.picOutput && picOrderCntLsb == other.picOrderCntLsb &&
            shortTermRps == other.shortTermRps && longTermPics == other.longTermPics &&
            temporalMvpEnabled == other.temporalMvpEnabled);
}

// ITU-T H.265, 7.3.6.1, slice_segment_header()
std::optional<SliceHeader> parseSliceHeader(const NalUnit &nal, const SpsTable &spsTable, const PpsTable &ppsTable)
{
    if (isIrap(nal.type) && nal.temporalIdPlus1 != 1) // 7.4.2.2
        return std::nullopt;
    BitReader reader = nal.reader();
    SliceHeader slice;
    slice.nalUnitType = nal.type;
    slice.temporalId = static_cast<std::uint8_t>(nal.temporalIdPlus1 - 1);
    slice.firstSliceSegmentInPic = reader.readFlag(); // first_slice_segment_in_pic_flag
    if (isIrap(nal.type))
        slice.noOutputOfPriorPics = reader.readFlag(); // no_output_of_prior_pics_flag
    slice.ppsId = reader.readUe();                     // slice_pic_parameter_set_id
    if (reader.failed() || slice.ppsId >= kPpsIds || !ppsTable.at(slice.ppsId))
        return std::nullopt;
    const Pps &pps = *ppsTable.at(slice.ppsId);
    slice.spsId = pps.spsId;
    if (!spsTable.at(pps.spsId))
        return std::nullopt;
    SliceHeaderParser parser{reader, *spsTable.at(pps.spsId), pps, slice};
    return parser.parse() ? std::optional(std::move(slice)) : std::nullopt;
}

} // namespace quorvale::hevc
