#pragma once

#include <QDir>
#include <QFile>
#include <QProcess>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

constexpr int kLongEnough = 10000;

/// The program that reveals files, in an environment of its own.
class Probe : public QProcess
{
public:
    Probe(const QString &busAddress, const QString &openerFolder)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), busAddress);
        environment.insert(QStringLiteral("PATH"), openerFolder); // this desktop's own opener stays out of it
        setProcessEnvironment(environment);
        start(QStringLiteral(QUORVALE_FINDER_PROBE), QStringList());
    }

    ~Probe() override { end(); }

    /// Asks it to reveal `path`, and does not wait.
    void reveal(const QByteArray &path) { write(path + '\0'); }

    /// How many of its calls have come back so far.
    int returned()
    {
        m_output += readAllStandardOutput();
        return static_cast<int>(m_output.count("returned\n"));
    }

    /// How many sockets it has open.
    [[nodiscard]] int sockets() const
    {
        const QDir descriptors(QStringLiteral("/proc/%1/fd").arg(processId()));
        int count = 0;
        for (const QFileInfo &descriptor : descriptors.entryInfoList(QDir::AllEntries | QDir::System))
            count += descriptor.symLinkTarget().contains(QLatin1String("socket:")) ? 1 : 0;
        return count;
    }

    /// How many of its children have ended without its taking note.
    [[nodiscard]] int zombies() const
    {
        const QByteArray children = ") Z " + QByteArray::number(processId()) + ' ';
        int count = 0;
        for (const QString &process : QDir(QStringLiteral("/proc")).entryList({QStringLiteral("[1-9]*")}, QDir::Dirs)) {
            QFile facts(QStringLiteral("/proc/%1/stat").arg(process));
            count += facts.open(QIODevice::ReadOnly) && facts.readAll().contains(children) ? 1 : 0;
        }
        return count;
    }

    /// Ends its input, and with it the program. True when it ended well; says how it ended where it did not.
    bool end()
    {
        closeWriteChannel();
        const bool finished = state() == NotRunning || waitForFinished(kLongEnough);
        const bool well = finished && exitStatus() == NormalExit && exitCode() == 0;
        if (!well)
            qWarning("finished %d, status %d, code %d: %s", finished, exitStatus(), exitCode(),
                     readAllStandardError().constData());
        return well;
    }

private:
    QByteArray m_output;
};

/// A bus that accepts connections and never answers.
class DeadBus
{
public:
    explicit DeadBus(const QString &path)
        : m_socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof(address.sun_path) - 1);
        m_listens = m_socket >= 0 && bind(m_socket, reinterpret_cast<sockaddr *>(&address), sizeof(address)) == 0 &&
                    listen(m_socket, 5) == 0;
    }

    ~DeadBus() { end(); }

    DeadBus(const DeadBus &) = delete;
    DeadBus &operator=(const DeadBus &) = delete;

    [[nodiscard]] bool listens() const { return m_listens; }

    [[nodiscard]] bool somebodyWaits() const
    {
        pollfd question{m_socket, POLLIN, 0};
        return poll(&question, 1, 0) == 1;
    }

    /// Closes the socket, so that waiting clients learn that nobody is there.
    void end()
    {
        if (m_socket >= 0)
            close(m_socket);
        m_socket = -1;
    }

private:
    int m_socket;
    bool m_listens = false;
};
