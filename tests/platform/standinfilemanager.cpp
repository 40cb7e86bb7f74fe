#include "tests/platform/standinfilemanager.h"

#include <QUuid>

StandInFileManager::StandInFileManager(const QString &busAddress)
    : m_name(QUuid::createUuid().toString())
    , m_bus(QDBusConnection::connectToBus(busAddress, m_name))
{
    if (!m_bus.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath) ||
        !m_bus.registerService(QStringLiteral("org.freedesktop.FileManager1")))
        qFatal("no file manager can stand in on this bus");
}

StandInFileManager::~StandInFileManager()
{
    QDBusConnection::disconnectFromBus(m_name);
}

bool StandInFileManager::handleMessage(const QDBusMessage &message, const QDBusConnection &)
{
    message.setDelayedReply(true);
    received.append(message);
    return true;
}
