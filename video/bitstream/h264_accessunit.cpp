#include "video/bitstream/h264_accessunit.h"

#include "video/bitstream/h264_sei.h"
#include "video/bitstream/sei.h"

#include <algorithm>
#include <utility>

namespace quorvale::h264 {

namespace {

constexpr std::size_t kMostLists = 32; // different ones, one slice after the other, of a picture

} // namespace

// What was found in one access unit.
struct AccessUnitReader::Contents
{
    std::vector<SliceHeader> slices; // the first one, and those with other reference picture lists than the one before
    std::uint32_t latestFirstMb = 0;
    std::optional<RecoveryPoint> recoveryPoint;
    bool isOnePicture = true; // whole, with nothing that does not belong to it
    bool areIntra = true;     // all slices
    bool haveB = false;       // any
    bool haveTooManyLists = false;
    bool areCabac = true;         // all
    std::int64_t headerBytes = 0; // of the slice whose header is longest

    void add(std::optional<SliceHeader> slice);
    [[nodiscard]] RandomAccess randomAccess() const;
};

void AccessUnitReader::Contents::add(std::optional<SliceHeader> slice)
{
    if (!slice) {
        isOnePicture = false;
        return;
    }
    // From the first macroblock on, in ascending order, and all of the same picture.
    if (slices.empty() ? slice->firstMbInSlice != 0
                       : !slices.front().isOfSamePicture(*slice) || slice->firstMbInSlice <= latestFirstMb)
        isOnePicture = false;
    latestFirstMb = slice->firstMbInSlice;
    areIntra = areIntra && slice->sliceType == SliceType::I;
    haveB = haveB || slice->sliceType == SliceType::B;
    areCabac = areCabac && slice->dataAt > 0;
    headerBytes = std::max(headerBytes, slice->dataAt);
    if (!slices.empty() && slices.back().hasSameLists(*slice))
        return;
    haveTooManyLists = slices.size() == kMostLists;
    if (!haveTooManyLists)
        slices.push_back(std::move(*slice));
}

RandomAccess AccessUnitReader::Contents::randomAccess() const
{
    if (slices.front().idrPicFlag)
        return RandomAccess::Idr;
    // Later than at once is gradual refresh: the picture itself is not output after a random access.
    if (!areIntra || !recoveryPoint || recoveryPoint->recoveryFrameCnt != 0 || recoveryPoint->brokenLink)
        return RandomAccess::None;
    return recoveryPoint->exactMatch ? RandomAccess::RecoveryPoint : RandomAccess::InexactRecoveryPoint;
}

void AccessUnitReader::readSps(Bytes bytes, AccessUnit &unit)
{
    takeParameterSet(parseSps(parseNalUnit(bytes).reader()), static_cast<std::uint8_t>(NalUnitType::Sps), bytes,
                     m_spsTable, m_parameterSets, unit);
}

void AccessUnitReader::readPps(Bytes bytes, AccessUnit &unit)
{
    takeParameterSet(parsePps(parseNalUnit(bytes).reader()), static_cast<std::uint8_t>(NalUnitType::Pps), bytes,
                     m_ppsTable, m_parameterSets, unit);
}

// ITU-T H.264, 7.4.1.2.3
void AccessUnitReader::readNalUnit(Bytes bytes, Contents &contents, AccessUnit &unit)
{
    if (bytes.size < 2) {
        contents.isOnePicture = false;
        return;
    }
    const NalUnit nal = parseNalUnit(bytes);
    if (nal.type == NalUnitType::Sei && findSeiPayload(nal.reader(), kFilmGrainPayload))
        m_hasFilmGrain = true;
    // What comes after a slice and is none belongs to the next picture.
    const bool beforeSlices = contents.slices.empty();
    if (nal.forbiddenZeroBit)
        contents.isOnePicture = false;
    else if (nal.type == NalUnitType::NonIdrSlice || nal.type == NalUnitType::IdrSlice)
        contents.add(parseSliceHeader(nal, m_spsTable, m_ppsTable));
    else if (beforeSlices && nal.type == NalUnitType::Sps)
        readSps(bytes, unit);
    else if (beforeSlices && nal.type == NalUnitType::Pps)
        readPps(bytes, unit);
    else if (beforeSlices && nal.type == NalUnitType::Sei)
        contents.recoveryPoint = contents.recoveryPoint ? contents.recoveryPoint : findRecoveryPoint(nal.reader());
    else if (nal.type != NalUnitType::FillerData && !(beforeSlices && nal.type == NalUnitType::AccessUnitDelimiter))
        contents.isOnePicture = false; // data partitions, ends of sequences, extensions
}

void AccessUnitReader::describe(const Contents &contents, std::int64_t pictureOrderCount, AccessUnit &unit)
{
    const SliceHeader &slice = contents.slices.front();
    unit.onePicture = true;
    unit.structure = slice.structure;
    unit.randomAccess = contents.randomAccess();
    unit.isReference = slice.nalRefIdc != 0;
    unit.hasBSlices = contents.haveB;
    if (contents.areCabac && contents.headerBytes <= UINT16_MAX)
        unit.sliceHeaderBytes = static_cast<std::uint16_t>(contents.headerBytes);
    unit.startsSequence = slice.idrPicFlag || slice.hasMemoryManagementControl5();
    unit.pictureOrderCount = pictureOrderCount;
    // 7.4.3: after memory_management_control_operation 5 the picture is taken to have had frame_num 0.
    unit.frameNum = slice.hasMemoryManagementControl5() ? 0 : slice.frameNum;
}

AccessUnit AccessUnitReader::read(const std::uint8_t *data, std::size_t size)
{
    AccessUnit unit;
    Contents contents;
    ByteStream stream(data, static_cast<std::int64_t>(size));
    Bytes bytes;
    while (stream.next(bytes))
        readNalUnit(bytes, contents, unit);
    if (contents.slices.empty()) {
        m_referenceFrames.forget();
        return unit;
    }
    const SliceHeader &slice = contents.slices.front();
    const Sps &sps = *m_spsTable.at(slice.spsId);
    const std::optional<std::int64_t> count = m_pictureOrderCounter.next(slice, sps);
    unit.mayWithholdOutput = slice.noOutputOfPriorPics;
    if (!contents.isOnePicture || m_hasFilmGrain || !count) {
        m_referenceFrames.forget();
        return unit;
    }
    describe(contents, *count, unit);
    std::optional<std::vector<std::int64_t>> references = m_referenceFrames.next(contents.slices, *count, sps);
    unit.referencesAreKnown = references.has_value() && !contents.haveTooManyLists;
    unit.references = unit.referencesAreKnown ? std::move(*references) : std::vector<std::int64_t>();
    return unit;
}

} // namespace quorvale::h264
