#pragma once

#include "tools/testpicture/blockcode.h"

#include <QImage>

#include <algorithm>
#include <optional>
#include <vector>

/// The number in the block code of a coloured picture. Reads the darkest channel of each pixel: in tinted black one or
/// two channels wrap to bright values, never all three.
inline std::optional<unsigned> numberIn(const QImage &image)
{
    std::vector<std::uint8_t> darkest;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            darkest.push_back(std::uint8_t(std::min({qRed(pixel), qGreen(pixel), qBlue(pixel)})));
        }
    }
    return quorvale::readBlockCode(darkest.data(), image.width(), image.height(), image.width());
}
