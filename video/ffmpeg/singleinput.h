#pragma once

struct AVDictionary;
struct AVFormatContext;
struct AVPacket;

namespace quorvale::ffmpeg {

/// Opens the regular file `path`, and never another one, whatever files its content names (it may be a playlist). Does
/// not wait for a pipe or a device. The bytes of `path` go to the operating system as they are. False, with `input`
/// null, if the file cannot be opened. `input` is owned by the caller, who closes it with closeSingleInput only.
[[nodiscard]] bool openSingleInput(AVFormatContext *&input, const char *path);

/// Finds the streams of `input` and what FFmpeg's decoders say about them, as avformat_find_stream_info does; `options`
/// are theirs. What that reads was judged before: see probingCost.
[[nodiscard]] bool findStreams(AVFormatContext &input, AVDictionary **options);

/// Reads the next packet, as av_read_frame does, whose errors it returns; but none from where on the file's streams
/// have more parameter sets than there may be.
[[nodiscard]] int readPacket(AVFormatContext &input, AVPacket &packet);

/// Closes `input` and its file, and makes it null; it may be null already.
void closeSingleInput(AVFormatContext *&input);

} // namespace quorvale::ffmpeg
