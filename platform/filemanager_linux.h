#pragma once

#include <QByteArray>
#include <QDBusConnection>
#include <QObject>

#include <functional>

namespace quorvale {

/// The URI of the file at `path`. Every byte but letters, digits, "-._~" and the separators is written as %XX. The
/// bytes of a path need not be UTF-8.
QString fileUri(const QByteArray &path);

/// Asks the desktop's file manager, over the session bus, to show files.
///
/// Connecting to the bus blocks until the bus answers, so an object of this class lives in a thread of its own, not in
/// the main one. It needs that thread's event loop: nothing waits for the file manager's answer.
class FileManager : public QObject
{
public:
    /// Opens a window on the folder of `path` with the file selected. If no file manager answers, opens the folder with
    /// the desktop's opener; never the file itself, which would play it.
    ///
    /// `path`: absolute, the bytes that the file system knows.
    /// `failed`, if any, is called on this object's thread when the folder could not be opened either.
    void show(const QByteArray &path, const std::function<void()> &failed);

private:
    /// The session bus, connected again if need be; not connected when there is none.
    QDBusConnection connection();

    QDBusConnection m_bus{QString()};
    int m_connectionsMade = 0;
};

} // namespace quorvale
