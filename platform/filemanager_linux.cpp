#include "platform/filemanager_linux.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QStringList>

#include <cerrno>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quorvale {

namespace {

/// Every byte but letters, digits, "-._~" and the separators is written as %XX. A path is bytes, not text: those that
/// are no UTF-8 arrive as well.
QString fileUri(const QByteArray &path)
{
    return QStringLiteral("file://") + QString::fromLatin1(path.toPercentEncoding("/"));
}

QByteArray folderOf(const QByteArray &path)
{
    return path.left(qMax(1, static_cast<int>(path.lastIndexOf('/'))));
}

/// The desktop's opener is started as a program: the toolkit's own way to it belongs to the main thread, may wait for
/// the bus, and on some window systems does nothing. A shell puts it into the background and ends at once, so that
/// nobody has to wait for an opener that lives as long as its window. Spawned, not forked: other threads may be
/// anywhere, and a fork of this process would have to get on with what they hold.
void openFolder(const QByteArray &path)
{
    QByteArray shell("sh");
    QByteArray option("-c");
    QByteArray command("xdg-open \"$0\" 2>/dev/null &");
    QByteArray uri = fileUri(folderOf(path)).toLatin1();
    char *const arguments[] = {shell.data(), option.data(), command.data(), uri.data(), nullptr};
    pid_t pid = 0;
    // No error is reported: where there is no opener either, nothing opens.
    if (posix_spawn(&pid, "/bin/sh", nullptr, nullptr, arguments, environ) != 0)
        return;
    while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
    }
}

} // namespace

void FileManager::show(const QByteArray &path)
{
    const QDBusConnection bus = connection();
    if (!bus.isConnected()) {
        openFolder(path);
        return;
    }

    // A bare message: an interface object would first ask the file manager to describe itself, and wait for that.
    QDBusMessage request = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    const QString noStartupId = QLatin1String("");
    request << QStringList{fileUri(path)} << noStartupId;

    auto *answer = new QDBusPendingCallWatcher(bus.asyncCall(request), this); // owned by this
    connect(answer, &QDBusPendingCallWatcher::finished, this, [path](QDBusPendingCallWatcher *finished) {
        finished->deleteLater();
        if (finished->isError())
            openFolder(path);
    });
}

QDBusConnection FileManager::connection()
{
    if (m_bus.isConnected())
        return m_bus;

    // A connection of our own, not the shared one, which would not come back after the bus was lost. A lost one keeps
    // its name until the program ends, so the next has a new name: taking one apart while the toolkit hands out its
    // last answers, on a thread of its own, is not safe.
    const QString name = QStringLiteral("quorvale-file-manager-%1").arg(m_connectionsMade);
    m_bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
    if (m_bus.isConnected())
        ++m_connectionsMade;
    else
        QDBusConnection::disconnectFromBus(name); // no answers to wait for: gives the name back
    return m_bus;
}

} // namespace quorvale
