#include "tests/support/picture.h"

#include "tools/testpicture/blockcode.h"

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/mem.h>
#include <libavutil/murmur3.h>
}

#include <QCryptographicHash>

#include <memory>

using namespace quorvale;

void Picture::clear()
{
    for (std::uint8_t *&plane : data) {
        delete[] plane;
        plane = nullptr;
    }
}

namespace {

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
    QCryptographicHash hash(QCryptographicHash::Md5);
    forEachRow(image, avFormat, [&](const std::uint8_t *row, int size) {
        hash.addData(QByteArray::fromRawData(reinterpret_cast<const char *>(row), size));
    });
    return hash.result().toHex();
}

QByteArray quickChecksum(const BridgeImage &image, int avFormat)
{
    const std::unique_ptr<AVMurMur3, void (*)(void *)> hash(av_murmur3_alloc(), av_free);
    av_murmur3_init(hash.get());
    forEachRow(image, avFormat,
               [&](const std::uint8_t *row, int size) { av_murmur3_update(hash.get(), row, std::size_t(size)); });
    QByteArray result(16, '\0');
    av_murmur3_final(hash.get(), reinterpret_cast<std::uint8_t *>(result.data()));
    return result.toHex();
}

QByteArray checksum(const AVFrame &frame)
{
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const int size = av_image_get_buffer_size(format, frame.width, frame.height, 1);
    if (size <= 0)
        return {};
    QByteArray bytes(size, '\0');
    av_image_copy_to_buffer(reinterpret_cast<std::uint8_t *>(bytes.data()), size, frame.data, frame.linesize, format,
                            frame.width, frame.height, 1);
    return QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex();
}

std::optional<unsigned> numberIn(const BridgeImage &image)
{
    return image.data[0] ? readBlockCode(image.data[0], image.width, image.height, image.stride[0]) : std::nullopt;
}
