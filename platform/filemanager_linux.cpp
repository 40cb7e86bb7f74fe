#include "platform/filemanager_linux.h"

#include "platform/desktopopener.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QStringList>

namespace quorvale {

QString fileUri(const QByteArray &path)
{
    return QStringLiteral("file://") + QString::fromLatin1(path.toPercentEncoding("/"));
}

namespace {

QByteArray folderOf(const QByteArray &path)
{
    return path.left(qMax(1, static_cast<int>(path.lastIndexOf('/'))));
}

} // namespace

void FileManager::show(const QByteArray &path, const std::function<void()> &failed)
{
    const QDBusConnection bus = connection();
    if (!bus.isConnected()) {
        openWithDesktop(folderOf(path), this, failed);
        return;
    }

    // A bare message: an interface object would first ask the file manager to describe itself, and wait for the answer.
    QDBusMessage request = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    const QString noStartupId = QLatin1String("");
    request << QStringList{fileUri(path)} << noStartupId;

    auto *answer = new QDBusPendingCallWatcher(bus.asyncCall(request), this); // owned by this
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, path, failed](QDBusPendingCallWatcher *finished) {
        finished->deleteLater();
        if (finished->isError())
            openWithDesktop(folderOf(path), this, failed);
    });
}

QDBusConnection FileManager::connection()
{
    if (m_bus.isConnected())
        return m_bus;

    // A connection of our own: the shared one would not come back after the bus was lost. A lost connection keeps its
    // name until the program ends, so the next has a new name: to disconnect it is not safe while Qt delivers its last
    // answers on another thread.
    const QString name = QStringLiteral("quorvale-file-manager-%1").arg(m_connectionsMade);
    m_bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
    if (m_bus.isConnected())
        ++m_connectionsMade;
    else
        QDBusConnection::disconnectFromBus(name); // no answers to wait for: gives the name back
    return m_bus;
}

} // namespace quorvale
