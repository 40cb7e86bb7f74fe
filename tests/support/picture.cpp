#include "tests/support/picture.h"

#include "tools/testpicture/blockcode.h"

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
}

#include <QCryptographicHash>

using namespace quorvale;

void Picture::clear()
{
    for (std::uint8_t *&plane : data) {
        delete[] plane;
        plane = nullptr;
    }
}

QByteArray checksum(const BridgeImage &image, int avFormat)
{
    QCryptographicHash hash(QCryptographicHash::Md5);
    for (int plane = 0; plane < image.planes; ++plane) {
        const int visible = av_image_get_linesize(static_cast<AVPixelFormat>(avFormat), image.width, plane);
        const bool halved = plane > 0 && (image.format == FF_PIX_YUV420P || image.format == FF_PIX_YUVJ420P);
        const int rows = halved ? image.height / 2 : image.height;
        for (int row = 0; row < rows; ++row) {
            const auto *line = reinterpret_cast<const char *>(image.data[plane]) + qptrdiff(row) * image.stride[plane];
            hash.addData(QByteArray::fromRawData(line, visible));
        }
    }
    return hash.result().toHex();
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
