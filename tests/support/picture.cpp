#include "tests/support/picture.h"

#include "tools/testpicture/blockcode.h"

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/mem.h>
#include <libavutil/murmur3.h>
}

#include <memory>
#include <vector>

using namespace quorvale;

void Picture::clear()
{
    for (std::uint8_t *&plane : data) {
        delete[] plane;
        plane = nullptr;
    }
}

namespace {

// Hashes what `feed` hands to the function that it is called with: bytes, and how many.
template <typename Feed>
QByteArray hashOf(const Feed &feed)
{
    const std::unique_ptr<AVMurMur3, void (*)(void *)> hash(av_murmur3_alloc(), av_free);
    av_murmur3_init(hash.get());
    feed([&](const std::uint8_t *bytes, int size) { av_murmur3_update(hash.get(), bytes, std::size_t(size)); });
    QByteArray result(16, '\0');
    av_murmur3_final(hash.get(), reinterpret_cast<std::uint8_t *>(result.data()));
    return result.toHex();
}

// Calls `take` with the visible bytes of each row, and how many there are.
template <typename Take>
void forEachRow(const BridgeImage &image, int avFormat, const Take &take)
{
    for (int plane = 0; plane < image.planes; ++plane) {
        const int visible = av_image_get_linesize(static_cast<AVPixelFormat>(avFormat), image.width, plane);
        const bool halved = plane > 0 && (image.format == FF_PIX_YUV420P || image.format == FF_PIX_YUVJ420P);
        const int rows = halved ? image.height / 2 : image.height;
        for (int row = 0; row < rows; ++row)
            take(image.data[plane] + qptrdiff(row) * image.stride[plane], visible);
    }
}

} // namespace

QByteArray checksum(const BridgeImage &image, int avFormat)
{
    return hashOf([&](const auto &take) { forEachRow(image, avFormat, take); });
}

QByteArray checksum(const AVFrame &frame)
{
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const int size = av_image_get_buffer_size(format, frame.width, frame.height, 1);
    if (size <= 0)
        return {};
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
    av_image_copy_to_buffer(bytes.data(), size, frame.data, frame.linesize, format, frame.width, frame.height, 1);
    return hashOf([&](const auto &take) { take(bytes.data(), size); });
}

std::optional<unsigned> numberIn(const BridgeImage &image)
{
    return image.data[0] ? readBlockCode(image.data[0], image.width, image.height, image.stride[0]) : std::nullopt;
}
