#pragma once

struct AVPacket;

namespace quorvale::ffmpeg {

/// Whether the decoder of JPEG 2000 would take little memory and time for the tiles, precincts and code-blocks of the
/// picture in `packet`. It makes all of them before it decodes one, and 500 bytes can claim a million.
[[nodiscard]] bool hasBoundedBlocks(const AVPacket &packet);

} // namespace quorvale::ffmpeg
