#pragma once

#include "tests/support/bt709.h"

#include <QByteArray>
#include <QImage>

#include <algorithm>

// What a picture's bytes should become, computed here a second time and in another way than the program does it.

/// The planes of a picture one after the other without padding, as the ffmpeg program writes raw video.
struct RawPicture
{
    int width = 0;
    int height = 0;
    QByteArray bytes;
};

inline uchar expectedByte(double channel)
{
    const int value = int(channel * 255.0);
    return value > 255 ? uchar(255) : uchar(value & 0xFF);
}

inline QRgb expectedPixel(int y, int cb, int cr)
{
    const auto [red, green, blue] = bt709(y, cb, cr);
    return qRgb(expectedByte(red), expectedByte(green), expectedByte(blue));
}

/// A planar picture of 8 bits, its chroma halved in width and, where `halvedRows`, in height.
inline QImage expectedFromPlanes(const RawPicture &raw, bool halvedRows)
{
    const int chromaWidth = (raw.width + 1) / 2;
    const int chromaHeight = halvedRows ? (raw.height + 1) / 2 : raw.height;
    const auto *luma = reinterpret_cast<const uchar *>(raw.bytes.constData());
    const uchar *cb = luma + raw.width * raw.height;
    const uchar *cr = cb + chromaWidth * chromaHeight;
    QImage image(raw.width, raw.height, QImage::Format_RGB888);
    for (int y = 0; y < raw.height; ++y) {
        // The reader hands out half of the rows, rounded down; the last of them serves the odd row, too.
        const int chromaRow = halvedRows ? std::min(y / 2, raw.height / 2 - 1) : y;
        for (int x = 0; x < raw.width; ++x) {
            const int chroma = chromaRow * chromaWidth + x / 2;
            image.setPixel(x, y, expectedPixel(luma[y * raw.width + x], cb[chroma], cr[chroma]));
        }
    }
    return image;
}

/// A picture whose rows of `rowBytes` bytes are taken for red, green and blue as they come; what a row lacks is black.
inline QImage expectedFromBytes(const RawPicture &raw, int rowBytes)
{
    const auto *bytes = reinterpret_cast<const uchar *>(raw.bytes.constData());
    QImage image(raw.width, raw.height, QImage::Format_RGB888);
    for (int y = 0; y < raw.height; ++y) {
        const auto at = [&](int column) { return column < rowBytes ? bytes[y * rowBytes + column] : uchar(0); };
        for (int x = 0; x < raw.width; ++x)
            image.setPixel(x, y, qRgb(at(3 * x), at(3 * x + 1), at(3 * x + 2)));
    }
    return image;
}
