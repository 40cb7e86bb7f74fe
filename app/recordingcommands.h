#pragma once

#include <QString>

#include <string>

class QMimeData;
class QWidget;

// What a person can do with one recording. Nothing is written to its disk.

namespace quorvale {

/// A programme's recording, in the recorder's bytes.
struct Recording
{
    std::string mainFile;
    std::string description; ///< markup
};

/// Opens the main file with the desktop's player. A message over `window` says when there is no such file, or no
/// player.
void playRecording(const Recording &recording, QWidget &window);

/// Shows the main file in the desktop's file manager. A message over `window` says when there is no such file, or no
/// file manager.
void showRecording(const Recording &recording, QWidget &window);

/// The text of the description, without its markup.
[[nodiscard]] QString plainDescription(const Recording &recording);

/// All files of the recording, to be dragged out, whatever bytes their names have; null when there is none. Owned by
/// the caller.
[[nodiscard]] QMimeData *recordingFiles(const Recording &recording);

} // namespace quorvale
