// What runProcess() does on macOS, with stand-ins for what only that system has.

#include <QtTest>

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

#define __APPLE__
#define F_SETNOSIGPIPE 73
#define POSIX_SPAWN_CLOEXEC_DEFAULT 0 // pipeOnMac() does for the pipe what this does for all descriptors

namespace {

int written = -1; // the end of the pipe

int pipeOnMac(int *ends)
{
    const int status = pipe2(ends, O_CLOEXEC);
    written = ends[1];
    return status;
}

int fcntlOnMac(int descriptor, int command, int value)
{
    if (descriptor == written && command == F_SETNOSIGPIPE && value == 1)
        std::signal(SIGPIPE, SIG_IGN); // the only pipe of this process
    return 0;
}

} // namespace

#define fcntl fcntlOnMac
#define pipe pipeOnMac
#include "tools/process/runprocess.cpp"

class TestRunProcessMac : public QObject
{
    Q_OBJECT

private slots:
    // Otherwise the signal ends the test.
    void run_raisesNoSignal_whenTheProgramStopsReading()
    {
        std::signal(SIGPIPE, SIG_DFL);
        const auto zeros = [pieces = 200](std::vector<std::uint8_t> &bytes) mutable {
            bytes.assign(100000, 0);
            return pieces-- > 0;
        };
        const quorvale::ProcessEnd end = quorvale::runProcess({"true"}, zeros);
        QCOMPARE(end.errors, std::string());
        QCOMPARE(end.exitStatus, 0);
    }
};

QTEST_GUILESS_MAIN(TestRunProcessMac)
#include "tst_runprocess_mac.moc"
