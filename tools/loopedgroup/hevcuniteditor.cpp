#include "tools/loopedgroup/rbsp.h"
#include "tools/loopedgroup/uniteditor.h"
#include "video/bitstream/hevc_nalunit.h"
#include "video/bitstream/hevc_pps.h"
#include "video/bitstream/hevc_sps.h"

#include <array>
#include <optional>

namespace quorvale {

namespace {

using namespace hevc;

struct SegmentFacts
{
    std::optional<std::size_t> picOrderCntLsbAt; // bit of the RBSP; IDR pictures and dependent segments have none
    std::uint32_t picOrderCntLsb = 0;
    const Sps *sps = nullptr;
};

class HevcEditor : public UnitEditor
{
public:
    UnitFacts look(const ByteVector &unit) override;
    ByteVector changed(const ByteVector &unit, const UnitShift &shift, const UnitChanges &changes) override;

private:
    void learn(const NalUnit &nal);
    std::optional<SegmentFacts> readSegment(const NalUnit &nal, Rbsp &rbsp) const;

    std::array<std::optional<Sps>, kSpsIds> m_sps;
    std::array<std::optional<Pps>, kPpsIds> m_pps;
};

void HevcEditor::learn(const NalUnit &nal)
{
    if (nal.type == NalUnitType::Sps) {
        if (const std::optional<ParameterSet<Sps>> found = parseSps(nal.reader()))
            m_sps.at(found->id) = found->parsed;
    } else if (nal.type == NalUnitType::Pps) {
        if (const std::optional<ParameterSet<Pps>> found = parsePps(nal.reader()))
            m_pps.at(found->id) = found->parsed;
    }
}

// ITU-T H.265, 7.3.6.1, slice_segment_header(), as far as slice_pic_order_cnt_lsb
std::optional<SegmentFacts> HevcEditor::readSegment(const NalUnit &nal, Rbsp &rbsp) const
{
    SegmentFacts segment;
    const bool isFirst = rbsp.readFlag(); // first_slice_segment_in_pic_flag
    if (isIrap(nal.type))
        rbsp.readFlag();                       // no_output_of_prior_pics_flag
    const std::uint32_t ppsId = rbsp.readUe(); // slice_pic_parameter_set_id
    if (ppsId >= kPpsIds || !m_pps.at(ppsId) || !m_sps.at(m_pps.at(ppsId)->spsId))
        return std::nullopt;
    const Pps &pps = *m_pps.at(ppsId);
    const Sps &sps = *m_sps.at(pps.spsId);
    segment.sps = &sps;
    if (!isFirst) {
        const bool isDependent = pps.dependentSliceSegmentsEnabled && rbsp.readFlag(); // dependent_slice_segment_flag
        rbsp.readBits(ceilLog2(sps.picSizeInCtbs()));                                  // slice_segment_address
        if (isDependent)
            return segment;
    }
    rbsp.readBits(pps.numExtraSliceHeaderBits); // slice_reserved_flag[i]
    rbsp.readUe();                              // slice_type
    if (pps.outputFlagPresent)
        rbsp.readFlag(); // pic_output_flag
    if (sps.separateColourPlane)
        rbsp.readBits(2); // colour_plane_id
    if (!isIdr(nal.type)) {
        segment.picOrderCntLsbAt = rbsp.position();
        segment.picOrderCntLsb = rbsp.readBits(sps.log2MaxPicOrderCntLsb); // slice_pic_order_cnt_lsb
    }
    return rbsp.failed() ? std::nullopt : std::optional(segment);
}

UnitFacts HevcEditor::look(const ByteVector &unit)
{
    UnitFacts facts;
    bool hasSps = false;
    ByteStream stream(unit.data(), static_cast<std::int64_t>(unit.size()));
    for (Bytes bytes; stream.next(bytes);) {
        if (bytes.size < NalUnit::kHeaderSize)
            continue;
        const NalUnit nal = parseNalUnit(bytes);
        learn(nal);
        hasSps = hasSps || nal.type == NalUnitType::Sps;
        if (!isSliceSegment(nal.type))
            continue;
        Rbsp rbsp(nal.payload);
        if (const std::optional<SegmentFacts> segment = readSegment(nal, rbsp)) {
            facts.canBeEntered = hasSps && isIrap(nal.type);
            facts.startsSequence = isIdr(nal.type) || isBla(nal.type);
            facts.picOrderCntLsb = segment->picOrderCntLsb;
        }
        break;
    }
    return facts;
}

UnitEditor::ByteVector HevcEditor::changed(const ByteVector &unit, const UnitShift &shift, const UnitChanges &)
{
    ByteVector result;
    ByteStream stream(unit.data(), static_cast<std::int64_t>(unit.size()));
    for (Bytes bytes; stream.next(bytes);) {
        if (bytes.size < NalUnit::kHeaderSize)
            continue;
        const NalUnit nal = parseNalUnit(bytes);
        learn(nal);
        Rbsp rbsp(nal.payload);
        if (isSliceSegment(nal.type)) {
            const std::optional<SegmentFacts> segment = readSegment(nal, rbsp);
            if (segment && segment->picOrderCntLsbAt)
                rbsp.overwriteBits(*segment->picOrderCntLsbAt, segment->sps->log2MaxPicOrderCntLsb,
                                   (segment->picOrderCntLsb + shift.picOrderCntLsb) %
                                       segment->sps->maxPicOrderCntLsb());
        }
        result.insert(result.end(), {0, 0, 0, 1, bytes.data[0], bytes.data[1]});
        const ByteVector payload = rbsp.payload();
        result.insert(result.end(), payload.begin(), payload.end());
    }
    return result;
}

} // namespace

std::unique_ptr<UnitEditor> makeHevcEditor()
{
    return std::make_unique<HevcEditor>();
}

} // namespace quorvale
