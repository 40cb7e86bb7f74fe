#pragma once

#include "video/bitstream/bitreader.h"
#include "video/bitstream/bytestream.h"

#include <cstdint>

namespace quorvale::h264 {

/// nal_unit_type (ITU-T H.264, table 7-1), those that are told apart here.
enum class NalUnitType : std::uint8_t {
    NonIdrSlice = 1,
    IdrSlice = 5,
    Sei = 6,
    Sps = 7,
    Pps = 8,
    AccessUnitDelimiter = 9,
    FillerData = 12,
};

/// Of a picture's slices, or their partitions (table 7-1).
[[nodiscard]] inline bool isVcl(NalUnitType type)
{
    return type >= NalUnitType::NonIdrSlice && type <= NalUnitType::IdrSlice;
}

/// ITU-T H.264, 7.3.1, nal_unit()
struct NalUnit
{
    static constexpr std::int64_t kHeaderSize = 1; ///< bytes

    bool forbiddenZeroBit = false; ///< forbidden_zero_bit
    std::uint8_t nalRefIdc = 0;    ///< nal_ref_idc
    NalUnitType type{};            ///< nal_unit_type; may be any of 0 to 31
    Bytes payload;                 ///< the RBSP, with its emulation prevention bytes

    [[nodiscard]] BitReader reader() const { return BitReader(payload); }
};

/// ITU-T H.264, 7.3.1, nal_unit(). `bytes`: at least one.
[[nodiscard]] inline NalUnit parseNalUnit(Bytes bytes)
{
    const std::uint8_t header = bytes.data[0];
    NalUnit nal;
    nal.forbiddenZeroBit = (header & 0x80) != 0;
    nal.nalRefIdc = header >> 5 & 3;
    nal.type = static_cast<NalUnitType>(header & 0x1F);
    nal.payload = withoutFirst(bytes, NalUnit::kHeaderSize);
    return nal;
}

} // namespace quorvale::h264
