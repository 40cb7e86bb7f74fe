#include "tests/platform/sessionbus.h"

#include <QFile>

SessionBus::SessionBus(const QString &folder)
    : m_folder(folder)
{
}

SessionBus::~SessionBus()
{
    stop();
}

bool SessionBus::start()
{
    QFile configuration(m_folder + QStringLiteral("/bus.conf"));
    if (!configuration.open(QIODevice::WriteOnly))
        return false;
    configuration.write("<busconfig><type>session</type><listen>" + address().toUtf8() +
                        "</listen><auth>EXTERNAL</auth><policy context=\"default\"><allow "
                        "send_destination=\"*\"/><allow receive_sender=\"*\"/>"
                        "<allow own=\"*\"/></policy></busconfig>");
    configuration.close();

    QFile::remove(m_folder + QStringLiteral("/bus"));
    m_daemon.start(QStringLiteral("dbus-daemon"),
                   {QStringLiteral("--config-file=") + configuration.fileName(), QStringLiteral("--nofork"),
                    QStringLiteral("--nopidfile"), QStringLiteral("--print-address")});
    return m_daemon.waitForReadyRead(); // the address: the bus listens
}

void SessionBus::stop()
{
    if (m_daemon.state() == QProcess::NotRunning)
        return;
    m_daemon.terminate();
    m_daemon.waitForFinished();
}

QString SessionBus::address() const
{
    return QStringLiteral("unix:path=") + m_folder + QStringLiteral("/bus");
}
