#pragma once

#include <QByteArray>

/// Files that claim pictures of sizes that no recorder makes. The pictures are empty.
namespace hugestreams {

/// A raw H.264 stream of `pictures` key pictures; `width` and `height` are multiples of 16.
[[nodiscard]] QByteArray h264(int width, int height, int pictures);

/// A PNG picture.
[[nodiscard]] QByteArray png(int width, int height);

/// Patches every sequence of an MPEG-2 stream: adds `steps` (0 to 3) times 4096 to its width and to its height. False
/// where no sequence was found.
bool widenMpeg2(QByteArray &stream, int steps);

} // namespace hugestreams
