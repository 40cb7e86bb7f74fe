#pragma once

#include <cstdint>

/// Layout of a picture's planes. The numbers are fixed: settings keep them, and other libraries get them.
/// The comment names the libavutil format; pixelformats.cpp says in which direction each one is translated.
enum FFPixelFormat : std::int32_t {
    FF_PIX_ARGB = 0,
    FF_PIX_RGBA = 1,
    FF_PIX_ABGR = 2,
    FF_PIX_BGRA = 3,
    FF_PIX_RGB24 = 4,
    FF_PIX_BGR24 = 5,
    FF_PIX_6 = 6, ///< RGB48LE
    FF_PIX_7 = 7, ///< RGBA64LE
    FF_PIX_8 = 8, ///< GRAY16LE
    FF_PIX_9 = 9, ///< YA8
    FF_PIX_GRAY8 = 10,
    FF_PIX_UYVY422 = 11,
    FF_PIX_YUVJ444P = 12,
    FF_PIX_YUVJ422P = 13,
    FF_PIX_YUVJ420P = 14,
    FF_PIX_YUV420P = 15,
    FF_PIX_YUV422P = 16,
    FF_PIX_YUV444P = 17,
    FF_PIX_18 = 18, ///< YUVA444P
    FF_PIX_19 = 19, ///< YUV422P10LE
    FF_PIX_20 = 20, ///< YUV422P16LE when asked for, YUVA422P16LE when read
    FF_PIX_21 = 21, ///< YUV444P10LE
    FF_PIX_22 = 22, ///< YUVA444P10LE
    FF_PIX_23 = 23, ///< YUVA444P16LE
    FF_PIX_NONE = 24,
};

/// One decoded picture, copied out of the decoder. A plain value; the holder owns the planes.
///
/// `FFVideo::Read` allocates each plane with `new[]` and never frees what the structure held before: the holder frees
/// every plane that is not null with `delete[]` before the structure is filled again or destroyed.
struct BridgeImage
{
    std::int32_t width = 0; ///< pixels, as decoded: the sample aspect ratio is not applied
    std::int32_t height = 0;
    std::int32_t planes = 0;            ///< planes in use: 1, 3 or 4
    std::uint8_t *data[4] = {};         ///< null beyond `planes`
    std::int32_t stride[4] = {};        ///< bytes per row, never negative; 0 beyond `planes`
    FFPixelFormat format = FF_PIX_NONE; ///< left as it was for a layout without a name here
};
