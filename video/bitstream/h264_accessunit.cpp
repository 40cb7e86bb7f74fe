#include "video/bitstream/h264_accessunit.h"

#include "video/bitstream/h264_sei.h"
#include "video/bitstream/sei.h"

#include <utility>

namespace quorvale::h264 {

namespace {

// The slices of one access unit.
struct Slices
{
    std::optional<SliceHeader> first;
    std::uint32_t latestFirstMb = 0;
    bool areOnePicture = true;
    bool areIntra = true;
    bool haveB = false;

    void add(std::optional<SliceHeader> slice)
    {
        if (!slice) {
            areOnePicture = false;
            return;
        }
        // From the first macroblock on, in ascending order, and all of the same picture.
        if (first ? !first->isOfSamePicture(*slice) || slice->firstMbInSlice <= latestFirstMb
                  : slice->firstMbInSlice != 0)
            areOnePicture = false;
        latestFirstMb = slice->firstMbInSlice;
        areIntra = areIntra && slice->sliceType == SliceType::I;
        haveB = haveB || slice->sliceType == SliceType::B;
        if (!first)
            first = std::move(slice);
    }
};

RandomAccess randomAccessAt(const Slices &slices, const std::optional<RecoveryPoint> &point)
{
    if (slices.first->idrPicFlag)
        return RandomAccess::Idr;
    // Later than at once is gradual refresh: the picture itself is not output after a random access.
    if (!slices.areIntra || !point || point->recoveryFrameCnt != 0 || point->brokenLink)
        return RandomAccess::None;
    return point->exactMatch ? RandomAccess::RecoveryPoint : RandomAccess::InexactRecoveryPoint;
}

} // namespace

void AccessUnitReader::readSps(Bytes bytes, AccessUnit &unit)
{
    takeParameterSet(parseSps(parseNalUnit(bytes).reader()), static_cast<std::uint8_t>(NalUnitType::Sps), bytes,
                     spsTable, parameterSets, unit);
}

void AccessUnitReader::readPps(Bytes bytes, AccessUnit &unit)
{
    takeParameterSet(parsePps(parseNalUnit(bytes).reader()), static_cast<std::uint8_t>(NalUnitType::Pps), bytes,
                     ppsTable, parameterSets, unit);
}

AccessUnit AccessUnitReader::read(const std::uint8_t *data, std::size_t size)
{
    AccessUnit unit;
    Slices slices;
    std::optional<RecoveryPoint> recoveryPoint;
    bool wellFormed = true;

    ByteStream stream(data, static_cast<std::int64_t>(size));
    Bytes bytes;
    while (stream.next(bytes)) {
        if (bytes.size < 2) {
            wellFormed = false;
            continue;
        }
        const NalUnit nal = parseNalUnit(bytes);
        if (nal.type == NalUnitType::Sei && findSeiPayload(nal.reader(), kFilmGrainPayload))
            hasFilmGrain = true;
        const bool beforeSlices = !slices.first; // What comes after a slice and is none belongs to the next picture.
        if (nal.forbiddenZeroBit)
            wellFormed = false;
        else if (nal.type == NalUnitType::NonIdrSlice || nal.type == NalUnitType::IdrSlice)
            slices.add(parseSliceHeader(nal, spsTable, ppsTable));
        else if (beforeSlices && nal.type == NalUnitType::Sps)
            readSps(bytes, unit);
        else if (beforeSlices && nal.type == NalUnitType::Pps)
            readPps(bytes, unit);
        else if (beforeSlices && nal.type == NalUnitType::Sei)
            recoveryPoint = recoveryPoint ? recoveryPoint : findRecoveryPoint(nal.reader());
        else if (nal.type != NalUnitType::FillerData && !(beforeSlices && nal.type == NalUnitType::AccessUnitDelimiter))
            wellFormed = false; // data partitions, ends of sequences, extensions
    }
    if (!slices.first)
        return unit;
    const SliceHeader &slice = *slices.first;
    const std::optional<std::int64_t> count = pictureOrderCounter.next(slice, *spsTable.at(slice.spsId));
    unit.mayWithholdOutput = slice.noOutputOfPriorPics;
    if (!wellFormed || hasFilmGrain || !slices.areOnePicture || !count)
        return unit;
    unit.onePicture = true;
    unit.structure = slice.structure;
    unit.randomAccess = randomAccessAt(slices, recoveryPoint);
    unit.isReference = slice.nalRefIdc != 0;
    unit.hasBSlices = slices.haveB;
    unit.startsSequence = slice.idrPicFlag || slice.hasMemoryManagementControl5();
    unit.pictureOrderCount = *count;
    // 7.4.3: after memory_management_control_operation 5 the picture is taken to have had frame_num 0.
    unit.frameNum = slice.hasMemoryManagementControl5() ? 0 : slice.frameNum;
    return unit;
}

} // namespace quorvale::h264
