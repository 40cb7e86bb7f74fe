#include "video/bitstream/accessunitreader.h"

#include "video/bitstream/h262_accessunit.h"
#include "video/bitstream/h264_accessunit.h"
#include "video/bitstream/hevc_accessunit.h"

namespace quorvale {

std::unique_ptr<AccessUnitReader> makeAccessUnitReader(VideoCoding coding)
{
    switch (coding) {
    case VideoCoding::Mpeg2:
        return std::make_unique<h262::AccessUnitReader>();
    case VideoCoding::H264:
        return std::make_unique<h264::AccessUnitReader>();
    case VideoCoding::Hevc:
        break;
    }
    return std::make_unique<hevc::AccessUnitReader>();
}

} // namespace quorvale
