#pragma once

#include "tools/process/runprocess.h"

/// Tests make the same streams again and again, in every build; from one recipe and one version of the ffmpeg program
/// the same bytes come out. So they are kept in the folder that the environment variable QUORVALE_KEPT_STREAMS names.
/// Without the variable nothing is kept.
///
/// A file appears in one step, so that any number of processes may use the folder at once. Each use renews its
/// modification time: an old file is no longer needed.
namespace quorvale::keptstreams {

/// Has `make` make the file at `path`, or copies there what was made before. `recipe`: all that the file's bytes depend
/// on, but for the ffmpeg program and the sources in this folder.
[[nodiscard]] ProcessEnd makeOnce(const std::string &path, const std::string &recipe,
                                  const std::function<ProcessEnd()> &make);

} // namespace quorvale::keptstreams
