#pragma once

struct AVCodecContext;
struct AVFormatContext;

// What is opened as a recording: containers of video, and decoders of video and sound. FFmpeg has many more of both,
// for pictures, drawings, texts, games, music modules and devices. It chooses by a file's bytes, whatever the file's
// name is.

namespace quorvale::ffmpeg {

/// Restricts `input`, which is not opened yet, to these containers, and its probing to these decoders. False if memory
/// runs out.
[[nodiscard]] bool restrictToVideo(AVFormatContext &input);

/// Restricts `decoder`, which is not opened yet: opening it as another one than these fails. False if memory runs out.
[[nodiscard]] bool restrictToVideo(AVCodecContext &decoder);

} // namespace quorvale::ffmpeg
