#pragma once

/// Shows the file at `path` in the desktop's file manager: a window on its folder, with the file selected.
///
/// `path`: absolute, NUL-terminated bytes as the file system knows them (UTF-8 on macOS). Whether the file exists is
/// not checked here. Reports no error and does not wait for the file manager. Every call writes the line "Opening file
/// <path>" to the standard error stream. Main thread only, while the application object lives.
void OpenFinderWindowAt(const char *path);
