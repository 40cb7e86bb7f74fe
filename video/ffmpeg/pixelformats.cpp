#include "video/ffmpeg/pixelformats.h"

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace quorvale::ffmpeg {

namespace {

constexpr AVPixelFormat kNever = AV_PIX_FMT_NONE;

struct FormatRow
{
    FFPixelFormat format;
    AVPixelFormat asked;    // what SetPixelFormat stores
    AVPixelFormat reported; // the decoded format that Read gives this label
};

// One row per value, in the order of the values.
constexpr FormatRow kFormats[] = {
    {FF_PIX_ARGB, AV_PIX_FMT_ARGB, AV_PIX_FMT_ARGB},
    {FF_PIX_RGBA, AV_PIX_FMT_RGBA, AV_PIX_FMT_RGBA},
    {FF_PIX_ABGR, AV_PIX_FMT_ABGR, AV_PIX_FMT_ABGR},
    {FF_PIX_BGRA, AV_PIX_FMT_BGRA, AV_PIX_FMT_BGRA},
    {FF_PIX_RGB24, AV_PIX_FMT_RGB24, AV_PIX_FMT_RGB24},
    {FF_PIX_BGR24, AV_PIX_FMT_BGR24, AV_PIX_FMT_BGR24},
    {FF_PIX_6, AV_PIX_FMT_RGB48LE, AV_PIX_FMT_RGB48LE},
    {FF_PIX_7, AV_PIX_FMT_RGBA64LE, kNever},
    {FF_PIX_8, AV_PIX_FMT_GRAY16LE, kNever},
    {FF_PIX_9, AV_PIX_FMT_YA8, kNever},
    {FF_PIX_GRAY8, AV_PIX_FMT_GRAY8, kNever},
    {FF_PIX_UYVY422, AV_PIX_FMT_UYVY422, AV_PIX_FMT_UYVY422},
    {FF_PIX_YUVJ444P, AV_PIX_FMT_YUVJ444P, kNever},
    {FF_PIX_YUVJ422P, AV_PIX_FMT_YUVJ422P, AV_PIX_FMT_YUVJ422P},
    {FF_PIX_YUVJ420P, AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUVJ420P},
    {FF_PIX_YUV420P, AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P},
    {FF_PIX_YUV422P, AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUV422P},
    {FF_PIX_YUV444P, AV_PIX_FMT_YUV444P, AV_PIX_FMT_YUV444P},
    {FF_PIX_18, AV_PIX_FMT_YUVA444P, AV_PIX_FMT_YUVA444P},
    {FF_PIX_19, AV_PIX_FMT_YUV422P10LE, AV_PIX_FMT_YUV422P10LE},
    {FF_PIX_20, AV_PIX_FMT_YUV422P16LE, AV_PIX_FMT_YUVA422P16LE}, // The two differ on purpose.
    {FF_PIX_21, AV_PIX_FMT_YUV444P10LE, AV_PIX_FMT_YUV444P10LE},
    {FF_PIX_22, AV_PIX_FMT_YUVA444P10LE, AV_PIX_FMT_YUVA444P10LE},
    {FF_PIX_23, AV_PIX_FMT_YUVA444P16LE, AV_PIX_FMT_YUVA444P16LE},
    {FF_PIX_NONE, AV_PIX_FMT_NONE, kNever},
};

} // namespace

std::optional<std::int32_t> avPixelFormatFor(FFPixelFormat format)
{
    for (const FormatRow &row : kFormats) {
        if (row.format == format)
            return row.asked;
    }
    return std::nullopt;
}

std::optional<FFPixelFormat> labelOf(std::int32_t avFormat)
{
    for (const FormatRow &row : kFormats) {
        if (row.reported == avFormat && row.reported != kNever)
            return row.format;
    }
    return std::nullopt;
}

PlaneLayout planeLayoutOf(std::int32_t avFormat)
{
    // YUV444P, YUVA444P and YUVA422P16LE have a label, but are not copied.
    switch (avFormat) {
    case AV_PIX_FMT_YUV420P:
    case AV_PIX_FMT_YUVJ420P:
        return PlaneLayout::Planar420;
    case AV_PIX_FMT_YUV422P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUV422P10LE:
    case AV_PIX_FMT_YUV444P10LE:
        return PlaneLayout::PlanarFullHeight;
    case AV_PIX_FMT_YUVA444P10LE:
    case AV_PIX_FMT_YUVA444P16LE:
        return PlaneLayout::PlanarWithAlpha;
    case AV_PIX_FMT_RGB24:
    case AV_PIX_FMT_BGR24:
    case AV_PIX_FMT_UYVY422:
    case AV_PIX_FMT_ARGB:
    case AV_PIX_FMT_RGBA:
    case AV_PIX_FMT_ABGR:
    case AV_PIX_FMT_BGRA:
    case AV_PIX_FMT_RGB48LE:
        return PlaneLayout::Packed;
    default:
        return PlaneLayout::None;
    }
}

} // namespace quorvale::ffmpeg
