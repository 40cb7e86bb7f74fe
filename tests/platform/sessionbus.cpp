#include "tests/platform/sessionbus.h"

#include "tests/support/files.h"

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
    const QString configuration = m_folder + QStringLiteral("/bus.conf");
    if (!writeFile(configuration, "<busconfig><type>session</type><listen>" + address().toUtf8() +
                                      "</listen><auth>EXTERNAL</auth><policy context=\"default\"><allow "
                                      "send_destination=\"*\"/><allow receive_sender=\"*\"/>"
                                      "<allow own=\"*\"/></policy></busconfig>"))
        return false;

    QFile::remove(m_folder + QStringLiteral("/bus"));
    m_daemon.start(QStringLiteral("dbus-daemon"),
                   {QStringLiteral("--config-file=") + configuration, QStringLiteral("--nofork"),
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
