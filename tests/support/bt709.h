#pragma once

#include <array>

/// Red, green and blue of a picture's point, each from 0 to 1 and beyond: BT.709 with chroma centred on 127, one
/// rounding at a time; `volatile` keeps the compiler from joining any of them.
inline std::array<double, 3> bt709(int y, int cb, int cr)
{
    volatile float luma = float(y) / 255.0F;
    volatile float u = float(cb - 127) / 255.0F;
    volatile float v = float(cr - 127) / 255.0F;
    volatile double redPart = double(v) * 1.5748;
    volatile double bluePart = double(u) * 1.8556;
    volatile float red = float(double(luma) + redPart);
    volatile float blue = float(double(luma) + bluePart);
    volatile double weightedRed = 0.2126 * double(red);
    volatile double weightedBlue = 0.0722 * double(blue);
    volatile double withoutRed = double(luma) - weightedRed;
    volatile double rest = withoutRed - weightedBlue;
    volatile float green = float(rest / 0.7152);
    return {double(red), double(green), double(blue)};
}
