#include "video/ffmpeg/colourspaces.h"

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace quorvale::ffmpeg {

namespace {

struct ColourSpaceRow
{
    FFColourSpace colourSpace;
    AVColorSpace av;
};

constexpr ColourSpaceRow kColourSpaces[] = {
    {FF_CS_RGB, AVCOL_SPC_RGB},
    {FF_CS_BT709, AVCOL_SPC_BT709},
    {FF_CS_BT470BG, AVCOL_SPC_BT470BG},
    {FF_CS_SMPTE170M, AVCOL_SPC_SMPTE170M},
    {FF_CS_SMPTE240M, AVCOL_SPC_SMPTE240M},
    {FF_CS_FCC, AVCOL_SPC_FCC},
    {FF_CS_YCGCO, AVCOL_SPC_YCGCO},
    {FF_CS_BT2020_CL, AVCOL_SPC_BT2020_CL},
    {FF_CS_BT2020_NCL, AVCOL_SPC_BT2020_NCL},
    {FF_CS_UNSPECIFIED, AVCOL_SPC_UNSPECIFIED},
};

} // namespace

std::optional<std::int32_t> avColourSpaceFor(FFColourSpace colourSpace)
{
    for (const ColourSpaceRow &row : kColourSpaces) {
        if (row.colourSpace == colourSpace)
            return row.av;
    }
    return std::nullopt;
}

FFColourSpace colourSpaceOf(std::int32_t avColourSpace)
{
    for (const ColourSpaceRow &row : kColourSpaces) {
        if (row.av == avColourSpace)
            return row.colourSpace;
    }
    return FF_CS_UNSPECIFIED;
}

} // namespace quorvale::ffmpeg
