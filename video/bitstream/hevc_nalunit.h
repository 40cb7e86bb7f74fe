#pragma once

#include "video/bitstream/bitreader.h"
#include "video/bitstream/bytestream.h"

#include <cstdint>

namespace quorvale::hevc {

/// nal_unit_type (ITU-T H.265, table 7-1), those that are told apart here.
enum class NalUnitType : std::uint8_t {
    RadlN = 6,
    RadlR = 7,
    RaslN = 8,
    RaslR = 9,
    BlaWLp = 16,
    BlaNLp = 18,
    IdrWRadl = 19,
    IdrNLp = 20,
    Cra = 21,
    Vps = 32,
    Sps = 33,
    Pps = 34,
    AccessUnitDelimiter = 35,
    EndOfSequence = 36,
    EndOfBitstream = 37,
    FillerData = 38,
    PrefixSei = 39,
    SuffixSei = 40,
};

[[nodiscard]] inline bool isBla(NalUnitType type)
{
    return type >= NalUnitType::BlaWLp && type <= NalUnitType::BlaNLp;
}

[[nodiscard]] inline bool isIdr(NalUnitType type)
{
    return type == NalUnitType::IdrWRadl || type == NalUnitType::IdrNLp;
}

/// Intra random access point, without the types that are reserved for more of them (22 and 23).
[[nodiscard]] inline bool isIrap(NalUnitType type)
{
    return type >= NalUnitType::BlaWLp && type <= NalUnitType::Cra;
}

[[nodiscard]] inline bool isRasl(NalUnitType type)
{
    return type == NalUnitType::RaslN || type == NalUnitType::RaslR;
}

[[nodiscard]] inline bool isRadl(NalUnitType type)
{
    return type == NalUnitType::RadlN || type == NalUnitType::RadlR;
}

/// Of a picture's slices, those of reserved types included (table 7-1).
[[nodiscard]] inline bool isVcl(NalUnitType type)
{
    return type < NalUnitType::Vps;
}

/// Slice segment of a type that is not reserved.
[[nodiscard]] inline bool isSliceSegment(NalUnitType type)
{
    return type <= NalUnitType::RaslR || isIrap(type);
}

/// Sub-layer non-reference picture: no picture of the same temporal sub-layer refers to it.
[[nodiscard]] inline bool isSubLayerNonReference(NalUnitType type)
{
    return type <= NalUnitType::RaslR && static_cast<int>(type) % 2 == 0;
}

/// ITU-T H.265, 7.3.1.2, nal_unit_header()
struct NalUnit
{
    static constexpr std::int64_t kHeaderSize = 2; ///< bytes

    bool forbiddenZeroBit = false;    ///< forbidden_zero_bit
    NalUnitType type{};               ///< nal_unit_type; may be any of 0 to 63
    std::uint8_t layerId = 0;         ///< nuh_layer_id
    std::uint8_t temporalIdPlus1 = 0; ///< nuh_temporal_id_plus1; 0 is not allowed
    Bytes payload;                    ///< the RBSP, with its emulation prevention bytes

    [[nodiscard]] BitReader reader() const { return BitReader(payload); }
};

/// ITU-T H.265, 7.3.1.1, nal_unit(). `bytes`: at least kHeaderSize.
[[nodiscard]] inline NalUnit parseNalUnit(Bytes bytes)
{
    NalUnit nal;
    nal.forbiddenZeroBit = (bytes.data[0] & 0x80) != 0;
    nal.type = static_cast<NalUnitType>(bytes.data[0] >> 1 & 0x3F);
    nal.layerId = static_cast<std::uint8_t>((bytes.data[0] & 1) << 5 | bytes.data[1] >> 3);
    nal.temporalIdPlus1 = bytes.data[1] & 7;
    nal.payload = withoutFirst(bytes, NalUnit::kHeaderSize);
    return nal;
}

} // namespace quorvale::hevc
