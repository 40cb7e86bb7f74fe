#pragma once

#include <QImage>

struct BridgeImage;

namespace quorvale {

/// The picture as red, green and blue bytes (QImage::Format_RGB888), at its decoded size. Copies what it needs of the
/// planes.
///
/// RGB24 is copied; 4:2:0 and 4:2:2 planes of 8 bits, full range or not, go through the arithmetic of `yuv2rgb`, with
/// negative channels wrapped to their low eight bits. The bytes of any other layout are shown as if they were RGB24,
/// with a line on stderr.
///
/// Never reads past a row or a plane: pixels for which a plane has no sample are black. A null image without memory
/// for it, or for a picture without pixels. Any thread.
[[nodiscard]] QImage rgbPicture(const BridgeImage &picture);

} // namespace quorvale
