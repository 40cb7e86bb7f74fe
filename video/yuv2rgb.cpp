#include "video/yuv2rgb.h"

namespace {

// The centre is 127, not 128, as thumbnails have always been made; their bytes are compared.
constexpr int kChromaCentre = 127;

// BT.709: the luma weights of red, green and blue, and the largest amounts that chroma adds to red and blue.
constexpr double kRedWeight = 0.2126;
constexpr double kGreenWeight = 0.7152;
constexpr double kBlueWeight = 0.0722;
constexpr double kRedSwing = 1.5748;
constexpr double kBlueSwing = 1.8556;

int toByteScale(float channel)
{
    const int value = static_cast<int>(channel * 255.0);
    return value > 255 ? 255 : value; // There is no lower clamp.
}

} // namespace

// Single and double precision alternate on purpose; this file is compiled without fused multiply-add.
void yuv2rgb(int y, int u, int v, int &r, int &g, int &b)
{
    const float luma = static_cast<float>(y) / 255.0F;
    const float blueDifference = static_cast<float>(u - kChromaCentre) / 255.0F;
    const float redDifference = static_cast<float>(v - kChromaCentre) / 255.0F;

    const auto red = static_cast<float>(luma + redDifference * kRedSwing);
    const auto blue = static_cast<float>(luma + blueDifference * kBlueSwing);
    const auto green = static_cast<float>((luma - kRedWeight * red - kBlueWeight * blue) / kGreenWeight);

    r = toByteScale(red);
    g = toByteScale(green);
    b = toByteScale(blue);
}
