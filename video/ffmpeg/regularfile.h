#pragma once

#include "video/ffmpeg/claimwatch.h"
#include "video/ffmpeg/readinglimits.h"

struct AVFormatContext;
struct AVIOContext;

namespace quorvale::ffmpeg {

class ParameterSets;
class UnitWatch;

/// Opens the regular file `path` for FFmpeg, which sees neither its name nor a protocol. Null if it cannot be opened,
/// or is a pipe, a device or a folder: this tests the open file, and waits for none of them. Owned by the caller, who
/// closes it with closeRegularFile.
[[nodiscard]] AVIOContext *openRegularFile(const char *path);

/// Says that the beginning of `file`, opened with openRegularFile, will be read soon: see ReadAhead.
void readBeginningAhead(const AVIOContext &file);

/// Says that `file`, opened with openRegularFile, will be read on from wherever it is read; of its beginning that was
/// said.
void readAhead(AVIOContext &file);

/// Watches what FFmpeg reads of `file`, opened with openRegularFile and not read yet, for such structures.
void watch(AVIOContext &file, const ClaimWatch::Structures &structures);

/// Watches the streams of HEVC, VVC and AV1 of `input`, which was opened from `file` and not read any further: see
/// UnitWatch, ObuWatch and FlvWatch.
void watchUnits(AVIOContext &file, AVFormatContext &input);

/// The UnitWatch that watchUnits made; null if there is nothing to watch.
[[nodiscard]] UnitWatch *unitWatch(AVIOContext &file);

/// Whether no watch withheld anything of `file` so far.
[[nodiscard]] bool isContent(const AVIOContext &file);

/// Those that were read of `file`, opened with openRegularFile.
[[nodiscard]] ParameterSets &parameterSets(AVIOContext &file);

/// What FFmpeg may read of `file`, opened with openRegularFile.
[[nodiscard]] ReadingLimits &readingLimits(AVIOContext &file);

/// Notes how much memory FFmpeg takes for the tables of `file`, opened with openRegularFile.
void noteTables(AVIOContext &file, std::int64_t bytes);

/// What was noted, or a watch counted; 0 at first.
[[nodiscard]] std::int64_t tableBytes(const AVIOContext &file);

/// Closes `file` and makes it null; it may be null already.
void closeRegularFile(AVIOContext *&file);

} // namespace quorvale::ffmpeg
