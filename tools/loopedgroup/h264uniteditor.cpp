#include "tools/loopedgroup/rbsp.h"
#include "tools/loopedgroup/uniteditor.h"
#include "video/bitstream/h264_nalunit.h"
#include "video/bitstream/h264_pps.h"
#include "video/bitstream/h264_sps.h"

#include <array>
#include <optional>

namespace quorvale {

namespace {

using namespace h264;

constexpr std::uint32_t kISlice = 2;         // slice_type modulo 5, table 7-6
constexpr std::uint32_t kRecoveryPoint = 6;  // payloadType, D.1.1
constexpr std::uint8_t kTrailingBits = 0x80; // rbsp_trailing_bits(), at a byte's beginning

struct SliceFacts
{
    bool isIntra = false;
    std::uint32_t frameNum = 0;
    std::uint32_t picOrderCntLsb = 0;
    const Sps *sps = nullptr;
    std::size_t frameNumAt = 0; // bit of the RBSP
    std::size_t picOrderCntLsbAt = 0;
};

class H264Editor : public UnitEditor
{
public:
    UnitFacts look(const ByteVector &unit) override;
    ByteVector changed(const ByteVector &unit, const UnitShift &shift, const UnitChanges &changes) override;

private:
    void learn(const NalUnit &nal);
    std::optional<SliceFacts> readSlice(const NalUnit &nal, Rbsp &rbsp) const;

    std::array<std::optional<Sps>, kSpsIds> m_sps;
    std::array<std::optional<Pps>, kPpsIds> m_pps;
};

bool isSlice(const NalUnit &nal)
{
    return nal.type == NalUnitType::NonIdrSlice || nal.type == NalUnitType::IdrSlice;
}

void H264Editor::learn(const NalUnit &nal)
{
    if (nal.type == NalUnitType::Sps) {
        if (const std::optional<ParameterSet<Sps>> found = parseSps(nal.reader()))
            m_sps.at(found->id) = found->parsed;
    } else if (nal.type == NalUnitType::Pps) {
        if (const std::optional<ParameterSet<Pps>> found = parsePps(nal.reader()))
            m_pps.at(found->id) = found->parsed;
    }
}

// ITU-T H.264, 7.3.3, slice_header(), as far as pic_order_cnt_lsb
std::optional<SliceFacts> H264Editor::readSlice(const NalUnit &nal, Rbsp &rbsp) const
{
    SliceFacts slice;
    rbsp.readUe();                                // first_mb_in_slice
    slice.isIntra = rbsp.readUe() % 5 == kISlice; // slice_type
    const std::uint32_t ppsId = rbsp.readUe();    // pic_parameter_set_id
    if (ppsId >= kPpsIds || !m_pps.at(ppsId) || !m_sps.at(m_pps.at(ppsId)->spsId))
        return std::nullopt;
    const Sps &sps = *m_sps.at(m_pps.at(ppsId)->spsId);
    slice.sps = &sps;
    if (sps.separateColourPlane)
        rbsp.readBits(2); // colour_plane_id
    slice.frameNumAt = rbsp.position();
    slice.frameNum = rbsp.readBits(sps.log2MaxFrameNum); // frame_num
    if (!sps.frameMbsOnly && rbsp.readFlag())            // field_pic_flag
        rbsp.readFlag();                                 // bottom_field_flag
    if (nal.type == NalUnitType::IdrSlice)
        rbsp.readUe(); // idr_pic_id
    if (sps.picOrderCntType == 0) {
        slice.picOrderCntLsbAt = rbsp.position();
        slice.picOrderCntLsb = rbsp.readBits(sps.log2MaxPicOrderCntLsb); // pic_order_cnt_lsb
    }
    return rbsp.failed() ? std::nullopt : std::optional(slice);
}

// ITU-T H.264, 7.3.2.3 and D.1.8: the bit of exact_match_flag, if there is a recovery point
std::optional<std::size_t> findExactMatchFlag(Rbsp &rbsp)
{
    const auto readNumber = [&rbsp] {
        std::uint32_t value = 0;
        for (std::uint32_t byte = 0xFF; byte == 0xFF && !rbsp.failed();) {
            byte = rbsp.readBits(8); // ff_byte, last_payload_type_byte, last_payload_size_byte
            value += byte;
        }
        return value;
    };
    for (;;) {
        const std::uint32_t payloadType = readNumber();
        const std::uint32_t payloadSize = readNumber();
        if (rbsp.failed())
            return std::nullopt;
        if (payloadType == kRecoveryPoint) {
            rbsp.readUe(); // recovery_frame_cnt
            return rbsp.failed() ? std::nullopt : std::optional(rbsp.position());
        }
        rbsp.skipBytes(payloadSize);
    }
}

UnitFacts H264Editor::look(const ByteVector &unit)
{
    UnitFacts facts;
    bool hasSps = false;
    bool hasRecoveryPoint = false;
    bool isIntra = true;
    bool hasSlice = false;
    ByteStream stream(unit.data(), static_cast<std::int64_t>(unit.size()));
    for (Bytes bytes; stream.next(bytes);) {
        if (bytes.size < 2)
            continue;
        const NalUnit nal = parseNalUnit(bytes);
        learn(nal);
        hasSps = hasSps || nal.type == NalUnitType::Sps;
        Rbsp rbsp(nal.payload);
        if (nal.type == NalUnitType::Sei)
            hasRecoveryPoint = hasRecoveryPoint || findExactMatchFlag(rbsp);
        if (!isSlice(nal))
            continue;
        const std::optional<SliceFacts> slice = readSlice(nal, rbsp);
        if (!slice)
            return {};
        facts.startsSequence = facts.startsSequence || nal.type == NalUnitType::IdrSlice;
        isIntra = isIntra && slice->isIntra;
        if (!hasSlice) {
            facts.frameNum = slice->frameNum;
            facts.picOrderCntLsb = slice->picOrderCntLsb;
        }
        hasSlice = true;
    }
    facts.canBeEntered = hasSlice && hasSps && (facts.startsSequence || hasRecoveryPoint);
    return facts;
}

void append(UnitEditor::ByteVector &unit, std::uint8_t header, const UnitEditor::ByteVector &payload)
{
    unit.insert(unit.end(), {0, 0, 0, 1, header});
    unit.insert(unit.end(), payload.begin(), payload.end());
}

UnitEditor::ByteVector H264Editor::changed(const ByteVector &unit, const UnitShift &shift, const UnitChanges &changes)
{
    ByteVector result;
    bool hasRecoveryPoint = false;
    bool hasSlice = false;
    ByteStream stream(unit.data(), static_cast<std::int64_t>(unit.size()));
    for (Bytes bytes; stream.next(bytes);) {
        if (bytes.size < 2)
            continue;
        const NalUnit nal = parseNalUnit(bytes);
        learn(nal);
        Rbsp rbsp(nal.payload);
        if (nal.type == NalUnitType::Sei) {
            if (const std::optional<std::size_t> flag = findExactMatchFlag(rbsp)) {
                hasRecoveryPoint = true;
                if (changes.clearsExactMatch)
                    rbsp.overwriteBits(*flag, 1, 0);
            }
        }
        if (isSlice(nal)) {
            if (const std::optional<SliceFacts> slice = readSlice(nal, rbsp)) {
                // recovery_frame_cnt 0, exact_match_flag 0, broken_link_flag 0, changing_slice_group_idc 0
                if (changes.forgesRecoveryPoints && !hasSlice && slice->isIntra && !hasRecoveryPoint &&
                    nal.type == NalUnitType::NonIdrSlice)
                    append(result, static_cast<std::uint8_t>(NalUnitType::Sei),
                           {kRecoveryPoint, 1, 0x84, kTrailingBits});
                const Sps &sps = *slice->sps;
                rbsp.overwriteBits(slice->frameNumAt, sps.log2MaxFrameNum,
                                   (slice->frameNum + shift.frameNum) % sps.maxFrameNum());
                if (sps.picOrderCntType == 0)
                    rbsp.overwriteBits(slice->picOrderCntLsbAt, sps.log2MaxPicOrderCntLsb,
                                       (slice->picOrderCntLsb + shift.picOrderCntLsb) % sps.maxPicOrderCntLsb());
            }
            hasSlice = true;
        }
        append(result, bytes.data[0], rbsp.payload());
    }
    return result;
}

} // namespace

std::unique_ptr<UnitEditor> makeH264Editor()
{
    return std::make_unique<H264Editor>();
}

} // namespace quorvale
