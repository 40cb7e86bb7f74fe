#include "tests/support/testclass.h"
#include "tools/testpicture/ffmpegprocess.h"

#include <csignal>
#include <thread>

using namespace quorvale;

class TestRunProcess : public QObject
{
    Q_OBJECT

    static ProcessInput zeros(int pieces, std::size_t size)
    {
        return [pieces, size](std::vector<std::uint8_t> &bytes) mutable {
            bytes.assign(size, 0);
            return pieces-- > 0;
        };
    }

    static std::vector<std::string> copyArguments(const QString &path)
    {
        return {"-v",  "error", "-y", "-f",     "s16le", "-ar",   "8000",
                "-ac", "1",     "-i", "pipe:0", "-f",    "s16le", path.toStdString()};
    }

private slots:
    void run_feedsTheWholeInput()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath("out.raw");
        const auto result = runFFmpeg(copyArguments(path), zeros(50, 20000));
        QCOMPARE(result.exitStatus, 0);
        QCOMPARE(result.errors, std::string());
        QCOMPARE(QFile(path).size(), qint64(1000000));
    }

    void run_keepsInputsApart_fromSeveralThreads()
    {
        const QTemporaryDir dir;
        std::vector<ProcessEnd> results(4);
        std::vector<std::thread> threads;
        threads.reserve(results.size());
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&results, &dir, i] {
                results[std::size_t(i)] =
                    runFFmpeg(copyArguments(dir.filePath(QString::number(i))), zeros(10 * (i + 1), 20000));
            });
        for (auto &thread : threads)
            thread.join();
        for (int i = 0; i < 4; ++i) {
            QCOMPARE(results[std::size_t(i)].exitStatus, 0);
            QCOMPARE(QFile(dir.filePath(QString::number(i))).size(), qint64(200000) * (i + 1));
        }
    }

    void run_reportsStatusAndMessages_whenTheProgramFails()
    {
        const auto result = runFFmpeg({"-v", "error", "-i", "/nonexistent/input.ts", "-f", "null", "-"});
        QVERIFY(!result.ok());
        QVERIFY(result.exitStatus > 0 && result.exitStatus < 127 + 128);
        QVERIFY2(QByteArray::fromStdString(result.errors).contains("No such file"), result.errors.c_str());
    }

    void run_survivesSigPipe_whenTheProgramStopsReading()
    {
        struct sigaction standard = {};
        standard.sa_handler = SIG_DFL;
        QCOMPARE(sigaction(SIGPIPE, &standard, nullptr), 0);
        const auto result =
            runFFmpeg({"-v", "error", "-i", "/nonexistent/input.ts", "-f", "null", "-"}, zeros(200, 1000000));
        QVERIFY(!result.ok());
        sigset_t set;
        sigpending(&set);
        QCOMPARE(sigismember(&set, SIGPIPE), 0);
        pthread_sigmask(SIG_BLOCK, nullptr, &set);
        QCOMPARE(sigismember(&set, SIGPIPE), 0);
    }

    void run_isOk_whenTheProgramWantsLessInputThanThereIs()
    {
        const QTemporaryDir dir;
        auto arguments = copyArguments(dir.filePath("out.raw"));
        arguments.insert(arguments.end() - 3, {"-t", "1"});
        QCOMPARE(runFFmpeg(arguments, zeros(200, 1000000)).exitStatus, 0);
        QCOMPARE(QFile(dir.filePath("out.raw")).size(), qint64(16000));
    }

    void run_givesTheProgramsStatusOrSignal_andWhatItTook()
    {
        const ProcessEnd end = runProcess({"sh", "-c", "echo out; echo err >&2; exit 3"});
        QVERIFY(!end.ok());
        QCOMPARE(end.exitStatus, 3);
        QCOMPARE(end.errors, std::string("err\n"));
        QVERIFY(end.usage.ru_maxrss > 0);
        QCOMPARE(runProcess({"sh", "-c", "kill -TERM $$"}).exitStatus, 128 + SIGTERM);
        const auto before = std::signal(SIGPIPE, SIG_IGN); // which the program does not inherit
        QCOMPARE(runProcess({"sh", "-c", "kill -PIPE $$"}).exitStatus, 128 + SIGPIPE);
        std::signal(SIGPIPE, before);
    }

    void run_givesTheProgramAnEmptyInput_whenThereIsNone()
    {
        QCOMPARE(runProcess({"sh", "-c", "test -z \"$(cat)\""}).exitStatus, 0);
    }

    void run_fails_withStatus127_whenThereIsNoFFmpeg()
    {
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", "/nonexistent");
        const auto result = runFFmpeg({"-version"});
        qputenv("PATH", path);
        QCOMPARE(result.exitStatus, 127);
        QVERIFY2(QByteArray::fromStdString(result.errors).startsWith("cannot start the ffmpeg program: "),
                 result.errors.c_str());
    }
};

TEST_CLASS(TestRunProcess, QCoreApplication)
#include "tst_runprocess.moc"
