#pragma once

#include <QByteArray>

#include <functional>

class QObject;

namespace quorvale {

/// Opens the file or folder at `path` with the program that the desktop has for it, and does not wait for that program,
/// which may outlive this one. `failed` is called if there is none, or if it fails within seconds: a program that ends
/// with an error later has opened the file. It is called on the calling thread, whose event loop must run, and only
/// while `context` lives.
///
/// `path`: absolute, the bytes that the file system knows.
void openWithDesktop(const QByteArray &path, QObject *context, std::function<void()> failed);

/// Does what OpenFinderWindowAt does and reports failure: `failed` is called, later and while `context` lives, when
/// neither a file manager nor anything else could show the folder. Main thread only.
void showInFileManager(const QByteArray &path, QObject *context, std::function<void()> failed);

} // namespace quorvale
