#pragma once

#include <cstddef>
#include <cstdint>

namespace quorvale {

enum class ChromaFormat { Yuv420, Yuv422 };

/// The shape of a planar 8 bit picture, in memory as in the ffmpeg program's raw video: the planes Y, Cb and Cr one
/// after the other without padding; a chroma plane's odd sizes are rounded up.
struct PictureFormat
{
    int width = 0;  ///< at least 1 when something is drawn
    int height = 0; ///< as well
    ChromaFormat chroma = ChromaFormat::Yuv420;
    bool interlaced = false; ///< the lower field's background is half a picture later than the upper one's

    [[nodiscard]] int chromaWidth() const { return (width + 1) / 2; }
    [[nodiscard]] int chromaHeight() const { return chroma == ChromaFormat::Yuv420 ? (height + 1) / 2 : height; }
    [[nodiscard]] std::size_t lumaSize() const { return std::size_t(width) * std::size_t(height); }
    [[nodiscard]] std::size_t chromaSize() const { return std::size_t(chromaWidth()) * std::size_t(chromaHeight()); }
    [[nodiscard]] std::size_t size() const { return lumaSize() + 2 * chromaSize(); }
};

/// Draws picture `number` of an endless sequence into `format.size()` bytes: a background and a ball that move in luma
/// and chroma, the number as a block code (its low 16 bits, see blockcode.h) and in digits. Both fields carry the same
/// number. The bytes depend on the arguments alone; `look` chooses colours, so that sequences can be told apart.
void drawNumberedPicture(std::uint8_t *bytes, const PictureFormat &format, unsigned number, unsigned look = 0);

} // namespace quorvale
