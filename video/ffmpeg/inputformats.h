#pragma once

struct AVCodecContext;
struct AVFormatContext;

// What is opened as a recording: containers of video, and decoders of video and sound. FFmpeg has many more of both,
// which read pictures, drawings, texts, games and modules of music, or open devices; a file's name says nothing about
// which of them its bytes choose.

namespace quorvale::ffmpeg {

/// Restricts `input`, which is not opened yet, to these containers, and its probing to these decoders. False without
/// memory.
[[nodiscard]] bool restrictToVideo(AVFormatContext &input);

/// Restricts `decoder`, which is not opened yet: to open it as another than these fails. False without memory.
[[nodiscard]] bool restrictToVideo(AVCodecContext &decoder);

} // namespace quorvale::ffmpeg
