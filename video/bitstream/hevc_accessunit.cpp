#include "video/bitstream/hevc_accessunit.h"

#include "video/bitstream/sei.h"

#include <utility>

namespace quorvale::hevc {

namespace {

// The slice segments of one access unit.
struct SliceSegments
{
    std::optional<SliceHeader> first;
    std::uint32_t latestAddress = 0;
    bool areOnePicture = true;
    bool withholdOutput = false;

    void add(std::optional<SliceHeader> slice)
    {
        if (!slice) {
            areOnePicture = false;
            return;
        }
        // From the first one on, in ascending order, and all of the same picture.
        if (slice->firstSliceSegmentInPic == first.has_value() ||
            (first && (!first->isOfSamePicture(*slice) || slice->sliceSegmentAddress <= latestAddress)))
            areOnePicture = false;
        withholdOutput = withholdOutput || slice->noOutputOfPriorPics || !slice->picOutput;
        latestAddress = slice->sliceSegmentAddress;
        if (!first)
            first = std::move(slice);
    }
};

// ITU-T H.265, 7.3.2.1, video_parameter_set_rbsp(), the only element of it that is of use here
std::uint32_t parseVpsId(BitReader reader)
{
    return reader.readBits(4); // vps_video_parameter_set_id
}

RandomAccess randomAccessAt(NalUnitType type)
{
    if (isIdr(type))
        return RandomAccess::Idr;
    if (isBla(type))
        return RandomAccess::Bla;
    return type == NalUnitType::Cra ? RandomAccess::Cra : RandomAccess::None;
}

} // namespace

void AccessUnitReader::readVps(Bytes bytes, AccessUnit &unit)
{
    const std::uint32_t id = parseVpsId(parseNalUnit(bytes).reader());
    parameterSets.note(static_cast<std::uint8_t>(NalUnitType::Vps), id, bytes, unit);
}

void AccessUnitReader::readSps(Bytes bytes, AccessUnit &unit)
{
    takeParameterSet(parseSps(parseNalUnit(bytes).reader()), static_cast<std::uint8_t>(NalUnitType::Sps), bytes,
                     spsTable, parameterSets, unit);
}

void AccessUnitReader::readPps(Bytes bytes, AccessUnit &unit)
{
    const std::optional<ParameterSet<Pps>> found = parsePps(parseNalUnit(bytes).reader());
    // Its slices may withhold pictures from output. The flag is set before such a slice comes.
    if (found && found->parsed && found->parsed->outputFlagPresent)
        unit.mayWithholdOutput = true;
    takeParameterSet(found, static_cast<std::uint8_t>(NalUnitType::Pps), bytes, ppsTable, parameterSets, unit);
}

void AccessUnitReader::describe(const SliceHeader &slice, const PictureOrderCounter::Picture &picture,
                                AccessUnit &unit) const
{
    const Sps &sps = *spsTable.at(slice.spsId);
    unit.onePicture = true;
    unit.randomAccess = randomAccessAt(slice.nalUnitType);
    unit.startsSequence = picture.startsSequence;
    unit.pictureOrderCount = picture.count;
    unit.temporalId = slice.temporalId;
    unit.isRasl = isRasl(slice.nalUnitType);
    // The pictures of a lower temporal sub-layer serve the higher ones, whatever their type.
    unit.isReference = !isSubLayerNonReference(slice.nalUnitType) || slice.temporalId < sps.maxSubLayersMinus1;
    unit.referencesAreKnown = findReferences(slice, sps, picture.count, unit.references);
    unit.isPrevTid0Pic = picture.isPrevTid0Pic;
    unit.maxPicOrderCntLsb = sps.maxPicOrderCntLsb();
}

AccessUnit AccessUnitReader::read(const std::uint8_t *data, std::size_t size)
{
    AccessUnit unit;
    SliceSegments segments;
    bool wellFormed = true;
    bool endsSequence = false;

    ByteStream stream(data, static_cast<std::int64_t>(size));
    Bytes bytes;
    while (stream.next(bytes)) {
        if (bytes.size < NalUnit::kHeaderSize) {
            wellFormed = false;
            continue;
        }
        const NalUnit nal = parseNalUnit(bytes);
        if (nal.type == NalUnitType::PrefixSei && findSeiPayload(nal.reader(), kFilmGrainPayload))
            hasFilmGrain = true;
        const bool beforeSlices = !segments.first; // What comes after a slice and is none belongs to the next picture.
        if (nal.type == NalUnitType::EndOfSequence || nal.type == NalUnitType::EndOfBitstream) {
            if (beforeSlices)
                pictureOrderCounter.endSequence();
            else
                endsSequence = true;
            wellFormed = false;
        } else if (nal.forbiddenZeroBit || nal.layerId != 0 || nal.temporalIdPlus1 == 0 || nal.payload.size == 0) {
            wellFormed = false;
        } else if (isSliceSegment(nal.type)) {
            segments.add(parseSliceHeader(nal, spsTable, ppsTable));
        } else if (beforeSlices && nal.type == NalUnitType::Vps) {
            readVps(bytes, unit);
        } else if (beforeSlices && nal.type == NalUnitType::Sps) {
            readSps(bytes, unit);
        } else if (beforeSlices && nal.type == NalUnitType::Pps) {
            readPps(bytes, unit);
        } else if (nal.type != NalUnitType::FillerData && nal.type != NalUnitType::SuffixSei &&
                   !(beforeSlices &&
                     (nal.type == NalUnitType::AccessUnitDelimiter || nal.type == NalUnitType::PrefixSei))) {
            wellFormed = false; // reserved and unspecified types
        }
    }
    unit.mayWithholdOutput = unit.mayWithholdOutput || segments.withholdOutput;
    if (!segments.first)
        return unit;
    const SliceHeader &slice = *segments.first;
    const PictureOrderCounter::Picture picture = pictureOrderCounter.next(slice, *spsTable.at(slice.spsId));
    if (endsSequence)
        pictureOrderCounter.endSequence();
    if (isIrap(slice.nalUnitType))
        irapIsBla = isBla(slice.nalUnitType);
    // 8.1.3, C.5.2.2: RASL pictures of a BLA are not output, nor what waits when a CRA begins another sequence. Before
    // the first picture of the stream there is nothing to be missed.
    if ((isRasl(slice.nalUnitType) && irapIsBla) ||
        (slice.nalUnitType == NalUnitType::Cra && picture.followsEndOfSequence))
        unit.mayWithholdOutput = true;
    if (wellFormed && !hasFilmGrain && segments.areOnePicture)
        describe(slice, picture, unit);
    return unit;
}

} // namespace quorvale::hevc
