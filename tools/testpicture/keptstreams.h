#pragma once

#include "tools/testpicture/numberedstream.h"

/// Where encodeNumberedStream() keeps what it has made: the folder that the environment variable QUORVALE_KEPT_STREAMS
/// names. Without the variable nothing is kept. Tests make the same streams again and again, in every build; from one
/// recipe and one version of the ffmpeg program the same bytes come out.
///
/// A file appears in one step, so that any number of processes may use the folder at once. Each use renews its
/// modification time: an old file is no longer needed.
namespace quorvale::keptstreams {

/// The kept file of `stream`, of whose `path` only the ending counts; empty if nothing is kept.
[[nodiscard]] std::string fileFor(const NumberedStream &stream);

/// Copies the kept file to `path`. False where there is none yet.
[[nodiscard]] bool fetch(const std::string &kept, const std::string &path);

/// Keeps a copy of the file at `path`, unless that cannot be done.
void keep(const std::string &path, const std::string &kept);

} // namespace quorvale::keptstreams
