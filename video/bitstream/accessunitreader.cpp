#include "video/bitstream/accessunitreader.h"

#include "video/bitstream/h262_accessunit.h"
#include "video/bitstream/h262_headers.h"
#include "video/bitstream/h264_accessunit.h"
#include "video/bitstream/h264_nalunit.h"
#include "video/bitstream/hevc_accessunit.h"
#include "video/bitstream/hevc_nalunit.h"

namespace quorvale {

namespace {

constexpr std::ptrdiff_t kStartCodePrefix = 3; // bytes: start_code_prefix, start_code_prefix_one_3bytes

// By its first bytes: a start code value (ITU-T H.262, table 6-1), or the header of a NAL unit (ITU-T H.264, 7.3.1;
// ITU-T H.265, 7.3.1.2).
bool isSlice(VideoCoding coding, Bytes unit)
{
    if (unit.size == 0)
        return false;
    const auto code = static_cast<h262::StartCode>(unit.data[0]);
    switch (coding) {
    case VideoCoding::Mpeg2:
        return code >= h262::StartCode::FirstSlice && code <= h262::StartCode::LastSlice;
    case VideoCoding::H264:
        return h264::isVcl(h264::parseNalUnit(unit).type);
    case VideoCoding::Hevc:
        break;
    }
    return unit.size >= hevc::NalUnit::kHeaderSize && hevc::isVcl(hevc::parseNalUnit(unit).type);
}

} // namespace

std::size_t bytesBeforeSlices(VideoCoding coding, const std::uint8_t *data, std::size_t size)
{
    ByteStream stream(data, static_cast<std::int64_t>(size));
    Bytes unit;
    while (stream.next(unit)) {
        if (isSlice(coding, unit))
            return static_cast<std::size_t>(unit.data - kStartCodePrefix - data);
    }
    return size;
}

std::unique_ptr<AccessUnitReader> makeAccessUnitReader(VideoCoding coding, HevcReferences references)
{
    switch (coding) {
    case VideoCoding::Mpeg2:
        return std::make_unique<h262::AccessUnitReader>();
    case VideoCoding::H264:
        return std::make_unique<h264::AccessUnitReader>();
    case VideoCoding::Hevc:
        break;
    }
    return std::make_unique<hevc::AccessUnitReader>(references);
}

} // namespace quorvale
