#pragma once

#include <QByteArray>

#include <functional>

class QObject;

namespace quorvale {

/// Opens the file or folder at `path` with the program that the desktop has for it, and does not wait for it. `failed`
/// is called when there is none or it fails within seconds: a program that ends with an error later has opened the
/// file. On the calling thread, whose event loop has to run, and not once `context` is gone. The program outlives this
/// one.
///
/// `path`: absolute, the bytes that the file system knows.
void openWithDesktop(const QByteArray &path, QObject *context, std::function<void()> failed);

/// OpenFinderWindowAt, with word of a failure: `failed` is called, later and while `context` lives, when neither a file
/// manager nor anything else could show the folder. Main thread only.
void showInFileManager(const QByteArray &path, QObject *context, std::function<void()> failed);

} // namespace quorvale
