#include "video/bitstream/hevc_accessunit.h"

#include "video/bitstream/sei.h"

#include <utility>

namespace quorvale::hevc {

// What was found in one access unit.
struct AccessUnitReader::Contents
{
    std::optional<SliceHeader> first; // of its slice segments
    std::uint32_t latestAddress = 0;
    bool isOnePicture = true; // whole, with nothing that does not belong to it
    bool withholdsOutput = false;
    bool endsSequence = false;

    void add(std::optional<SliceHeader> slice);
};

void AccessUnitReader::Contents::add(std::optional<SliceHeader> slice)
{
    if (!slice) {
        isOnePicture = false;
        return;
    }
    // From the first one on, in ascending order, and all of the same picture.
    if (slice->firstSliceSegmentInPic == first.has_value() ||
        (first && (!first->isOfSamePicture(*slice) || slice->sliceSegmentAddress <= latestAddress)))
        isOnePicture = false;
    withholdsOutput = withholdsOutput || slice->noOutputOfPriorPics || !slice->picOutput;
    latestAddress = slice->sliceSegmentAddress;
    if (first)
        first->refPicLists |= slice->refPicLists;
    else
        first = std::move(slice);
}

namespace {

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
    m_parameterSets.note(static_cast<std::uint8_t>(NalUnitType::Vps), id, bytes, unit);
}

void AccessUnitReader::readSps(Bytes bytes, AccessUnit &unit)
{
    takeParameterSet(parseSps(parseNalUnit(bytes).reader()), static_cast<std::uint8_t>(NalUnitType::Sps), bytes,
                     m_spsTable, m_parameterSets, unit);
}

void AccessUnitReader::readPps(Bytes bytes, AccessUnit &unit)
{
    const std::optional<ParameterSet<Pps>> found = parsePps(parseNalUnit(bytes).reader());
    // Its slices may withhold pictures from output. The flag is set before such a slice comes.
    if (found && found->parsed && found->parsed->outputFlagPresent)
        unit.mayWithholdOutput = true;
    takeParameterSet(found, static_cast<std::uint8_t>(NalUnitType::Pps), bytes, m_ppsTable, m_parameterSets, unit);
}

void AccessUnitReader::describe(const SliceHeader &slice, const PictureOrderCounter::Picture &picture,
                                AccessUnit &unit) const
{
    const Sps &sps = *m_spsTable.at(slice.spsId);
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

// ITU-T H.265, 7.4.2.4.4
void AccessUnitReader::readNalUnit(Bytes bytes, Contents &contents, AccessUnit &unit)
{
    if (bytes.size < NalUnit::kHeaderSize) {
        contents.isOnePicture = false;
        return;
    }
    const NalUnit nal = parseNalUnit(bytes);
    if (nal.type == NalUnitType::PrefixSei && findSeiPayload(nal.reader(), kFilmGrainPayload))
        m_hasFilmGrain = true;
    const bool beforeSlices = !contents.first; // What comes after a slice and is none belongs to the next picture.
    if (nal.type == NalUnitType::EndOfSequence || nal.type == NalUnitType::EndOfBitstream) {
        if (beforeSlices)
            m_pictureOrderCounter.endSequence();
        else
            contents.endsSequence = true;
        contents.isOnePicture = false;
    } else if (nal.forbiddenZeroBit || nal.layerId != 0 || nal.temporalIdPlus1 == 0 || nal.payload.size == 0) {
        contents.isOnePicture = false;
    } else if (isSliceSegment(nal.type)) {
        contents.add(parseSliceHeader(nal, m_spsTable, m_ppsTable));
    } else if (beforeSlices && nal.type == NalUnitType::Vps) {
        readVps(bytes, unit);
    } else if (beforeSlices && nal.type == NalUnitType::Sps) {
        readSps(bytes, unit);
    } else if (beforeSlices && nal.type == NalUnitType::Pps) {
        readPps(bytes, unit);
    } else if (nal.type != NalUnitType::FillerData && nal.type != NalUnitType::SuffixSei &&
               !(beforeSlices &&
                 (nal.type == NalUnitType::AccessUnitDelimiter || nal.type == NalUnitType::PrefixSei))) {
        contents.isOnePicture = false; // reserved and unspecified types
    }
}

AccessUnit AccessUnitReader::read(const std::uint8_t *data, std::size_t size)
{
    AccessUnit unit;
    Contents contents;
    ByteStream stream(data, static_cast<std::int64_t>(size));
    Bytes bytes;
    while (stream.next(bytes))
        readNalUnit(bytes, contents, unit);
    unit.mayWithholdOutput = unit.mayWithholdOutput || contents.withholdsOutput;
    if (!contents.first)
        return unit;
    if (m_references == HevcReferences::OfSets)
        contents.first->refPicLists = ~0U;
    const SliceHeader &slice = *contents.first;
    const PictureOrderCounter::Picture picture = m_pictureOrderCounter.next(slice, *m_spsTable.at(slice.spsId));
    if (contents.endsSequence)
        m_pictureOrderCounter.endSequence();
    if (isIrap(slice.nalUnitType))
        m_irapIsBla = isBla(slice.nalUnitType);
    // 8.1.3, C.5.2.2: RASL pictures of a BLA are not output, nor what waits when a CRA begins another sequence. Before
    // the first picture of the stream there is nothing to be missed.
    if ((isRasl(slice.nalUnitType) && m_irapIsBla) ||
        (slice.nalUnitType == NalUnitType::Cra && picture.followsEndOfSequence))
        unit.mayWithholdOutput = true;
    if (contents.isOnePicture && !m_hasFilmGrain)
        describe(slice, picture, unit);
    return unit;
}

} // namespace quorvale::hevc
