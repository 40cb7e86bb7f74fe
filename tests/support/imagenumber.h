#pragma once

#include "tools/testpicture/blockcode.h"

#include <QImage>

#include <algorithm>
#include <optional>
#include <vector>

/// The number that the block code of a coloured picture says. The darkest channel of each pixel is read: black that
/// carries colour wraps one or two of its channels to bright ones, never all three.
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
