#pragma once

struct AVCodec;
struct AVCodecContext;
struct AVFormatContext;

// What is opened as a recording: containers of video, and decoders of video and sound. FFmpeg has many more of both,
// which read pictures, drawings, texts, games and modules of music, or open devices; a file's name says nothing about
// which of them its bytes choose.

namespace quorvale::ffmpeg {

/// Whether `codec` may be used: a decoder of video or sound that runs on the processor.
[[nodiscard]] bool isWanted(const AVCodec &codec);

/// Restricts `input`, which is not opened yet, to these containers, and its probing to these decoders. False without
/// memory.
[[nodiscard]] bool restrictToVideo(AVFormatContext &input);

/// Restricts the probing of `input` to decoders of sound. False without memory.
[[nodiscard]] bool restrictToSound(AVFormatContext &input);

/// Restricts `decoder`, which is not opened yet: to open it as another than these fails. False without memory.
[[nodiscard]] bool restrictToVideo(AVCodecContext &decoder);

} // namespace quorvale::ffmpeg
