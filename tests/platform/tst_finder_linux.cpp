#include "tests/platform/finderprobe.h"
#include "tests/platform/sessionbus.h"
#include "tests/platform/standinfilemanager.h"
#include "tests/support/files.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

namespace {

QByteArray uriOf(const QDBusMessage &message)
{
    return message.arguments().value(0).toStringList().value(0).toLatin1();
}

} // namespace

class TestFinderLinux : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (QStandardPaths::findExecutable(QStringLiteral("dbus-daemon")).isEmpty())
            QSKIP("This machine has no dbus-daemon.");
    }

    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        QVERIFY(m_folder->isValid() && QDir().mkpath(folder("bin")));

        // One line for each time it is started, with what it was given.
        QVERIFY(writeOpener("echo \"$# $*\""));

        m_bus = std::make_unique<SessionBus>(m_folder->path());
        QVERIFY(m_bus->start());
    }

    void cleanup()
    {
        m_bus.reset();
        m_folder.reset();
    }

    void fileManager_receivesTheUri_ofAnyName_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("uri");
        const auto row = [](const char *name, const QByteArray &path, const QByteArray &uri) {
            QTest::newRow(name) << path << uri;
        };
        row("plain", "/media/disk/DVR/RECS/2016-01_a.b~c.ts", "file:///media/disk/DVR/RECS/2016-01_a.b~c.ts");
        row("space", "/d/a b.ts", "file:///d/a%20b.ts");
        row("percent sign", "/d/100%.ts", "file:///d/100%25.ts");
        row("what looks encoded", "/d/a%20b.ts", "file:///d/a%2520b.ts");
        row("double quotes", "/d/\"a\".ts", "file:///d/%22a%22.ts");
        row("single quote", "/d/it's.ts", "file:///d/it%27s.ts");
        row("number sign", "/d/#1.ts", "file:///d/%231.ts");
        row("question mark", "/d/who?.ts", "file:///d/who%3F.ts");
        row("plus, and, semicolon", "/d/a+b&c;d.ts", "file:///d/a%2Bb%26c%3Bd.ts");
        row("backslash and brackets", "/d/a\\[b].ts", "file:///d/a%5C%5Bb%5D.ts");
        row("line feed", "/d/a\nb.ts", "file:///d/a%0Ab.ts");
        row("UTF-8",
            "/d/Stra\xC3\x9F"
            "e \xE2\x82\xAC.ts",
            "file:///d/Stra%C3%9Fe%20%E2%82%AC.ts");
        row("no UTF-8",
            "/d/Stra\xDF"
            "e\xFF\x80.ts",
            "file:///d/Stra%DFe%FF%80.ts");
        row("a doubled separator", "//DVR/RECS/a.ts", "file:////DVR/RECS/a.ts");
    }
    void fileManager_receivesTheUri_ofAnyName()
    {
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, uri);
        StandInFileManager fileManager(m_bus->address());
        Probe probe(m_bus->address(), folder("bin"));
        probe.reveal(path);
        QTRY_COMPARE_WITH_TIMEOUT(fileManager.received.size(), 1, kLongEnough);

        const QDBusMessage message = fileManager.received.first();
        QCOMPARE(message.path(), QStringLiteral("/org/freedesktop/FileManager1"));
        QCOMPARE(message.interface(), QStringLiteral("org.freedesktop.FileManager1"));
        QCOMPARE(message.member(), QStringLiteral("ShowItems"));
        QCOMPARE(message.signature(), QStringLiteral("ass"));
        QCOMPARE(message.arguments().at(0).toStringList().size(), 1);
        QCOMPARE(uriOf(message), uri);
        QCOMPARE(message.arguments().at(1).toString(), QString());
        QCOMPARE(QByteArray::fromPercentEncoding(uriOf(message)), "file://" + path);

        fileManager.answer(0);
        QVERIFY(probe.end());
    }

    void fileManager_receivesOneMessageAndNoQuestions_perCall()
    {
        StandInFileManager fileManager(m_bus->address());
        Probe probe(m_bus->address(), folder("bin"));
        for (const char *path : {"/d/1", "/d/2", "/d/3"})
            probe.reveal(path);
        QTRY_COMPARE_WITH_TIMEOUT(fileManager.received.size(), 3, kLongEnough);
        for (int i = 0; i < 3; ++i)
            fileManager.answer(i);
        QVERIFY(probe.end());

        // All that the probe has sent in its life has arrived by now, in the order of the calls.
        QCoreApplication::processEvents();
        QCOMPARE(fileManager.received.size(), 3);
        for (int i = 0; i < 3; ++i)
            QCOMPARE(uriOf(fileManager.received.at(i)), "file:///d/" + QByteArray::number(i + 1));
        QCOMPARE(opened(), QList<QByteArray>());
    }

    void call_returnsBeforeTheFileManagerAnswers()
    {
        StandInFileManager fileManager(m_bus->address());
        Probe probe(m_bus->address(), folder("bin"));
        probe.reveal("/d/1");
        QTRY_COMPARE_WITH_TIMEOUT(fileManager.received.size(), 1, kLongEnough);
        // Nothing has been answered yet, and nothing will be until both calls have come back.
        probe.reveal("/d/2");
        QTRY_COMPARE_WITH_TIMEOUT(probe.returned(), 2, kLongEnough);
        QTRY_COMPARE_WITH_TIMEOUT(fileManager.received.size(), 2, kLongEnough);

        // The late answers are heard all the same.
        fileManager.answer(0);
        fileManager.answerWithError(1);
        QTRY_COMPARE_WITH_TIMEOUT(opened(), QList<QByteArray>{"1 file:///d"}, kLongEnough);
    }

    void call_returns_whenTheBusNeverAnswers()
    {
        DeadBus deadBus(folder("dead"));
        QVERIFY(deadBus.listens());
        Probe probe(addressOf("dead"), folder("bin"));
        probe.reveal("/d/1");
        probe.reveal("/d/2");
        QTRY_COMPARE_WITH_TIMEOUT(probe.returned(), 2, kLongEnough);
        QTRY_VERIFY_WITH_TIMEOUT(deadBus.somebodyWaits(), kLongEnough);
        probe.reveal("/d/3"); // while the connection is being made
        QTRY_COMPARE_WITH_TIMEOUT(probe.returned(), 3, kLongEnough);
        QCOMPARE(opened(), QList<QByteArray>());
        deadBus.end();
        QTRY_COMPARE_WITH_TIMEOUT(opened().size(), 3, kLongEnough);
        QVERIFY(probe.end());
    }

    void call_writesTheLogLine_withTheBytesOfThePath()
    {
        StandInFileManager fileManager(m_bus->address());
        Probe probe(m_bus->address(), folder("bin"));
        const QByteArray path = "/d/100% \"a\" \xC3\xA9 \xFF.ts";
        probe.reveal(path);
        probe.reveal("/d/%s%n");
        QTRY_COMPARE_WITH_TIMEOUT(fileManager.received.size(), 2, kLongEnough);
        QVERIFY(probe.end());
        QCOMPARE(probe.readAllStandardError(), "Opening file " + path + "\nOpening file /d/%s%n\n");
    }

    void folder_isOpenedOnce_whenTheFileManagerAnswersWithAnError()
    {
        StandInFileManager fileManager(m_bus->address());
        Probe probe(m_bus->address(), folder("bin"));
        probe.reveal("/d/shown/1.ts");
        probe.reveal("/d/not \xFFshown/2.ts");
        QTRY_COMPARE_WITH_TIMEOUT(fileManager.received.size(), 2, kLongEnough);
        fileManager.answer(0);
        fileManager.answerWithError(1);
        QTRY_COMPARE_WITH_TIMEOUT(opened().size(), 1, kLongEnough);
        QVERIFY(probe.end());
        QCOMPARE(opened(), QList<QByteArray>{"1 file:///d/not%20%FFshown"});
    }

    void folder_isOpened_whenNoFileManagerIsOnTheBus_orThereIsNoBus()
    {
        QList<QByteArray> expected;
        for (const QString &bus : {m_bus->address(), addressOf("nowhere")}) {
            Probe probe(bus, folder("bin"));
            for (const char *name : {"/d/DVR/RECS/a b.ts", "/a.ts"})
                probe.reveal(name);
            expected += {"1 file:///d/DVR/RECS", "1 file:///"};
            QTRY_COMPARE_WITH_TIMEOUT(opened().size(), expected.size(), kLongEnough);
            QVERIFY(probe.end());
            QCOMPARE(probe.readAllStandardError(), QByteArray("Opening file /d/DVR/RECS/a b.ts\nOpening file /a.ts\n"));
        }
        QList<QByteArray> found = opened(); // Two openers may overtake each other.
        std::sort(found.begin(), found.end());
        std::sort(expected.begin(), expected.end());
        QCOMPARE(found, expected);
    }

    // Programs that wait with select() break with more; it is inherited by what the opener starts.
    void opener_mayHaveAsManyDescriptors_asTheProgramBeganWith()
    {
        QVERIFY(writeOpener("echo $(ulimit -S -n) $(ulimit -H -n)"));
        rlimit own = {};
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &own), 0);
        const rlimit few{300, own.rlim_max}; // passed on to the probe
        QVERIFY(own.rlim_max > 300);
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &few), 0);
        Probe probe(addressOf("nowhere"), folder("bin"));
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &own), 0);
        probe.reveal("/d/1");
        const QByteArray most =
            own.rlim_max == RLIM_INFINITY ? "unlimited" : QByteArray::number(qulonglong{own.rlim_max});
        QTRY_COMPARE_WITH_TIMEOUT(opened(), QList<QByteArray>{"300 " + most}, kLongEnough);
    }

    void folders_areOpened_whileAnEarlierOnesOpenerLives()
    {
        const QByteArray life =
            QFile::encodeName(folder("life")); // an opener lives until somebody opens this for writing
        QCOMPARE(mkfifo(life.constData(), 0600), 0);
        QFile opener(folder("bin/xdg-open"));
        QVERIFY(opener.open(QIODevice::Append) && opener.write("read x < '" + life + "'\n") > 0);
        opener.close();
        Probe probe(addressOf("nowhere"), folder("bin"));
        probe.reveal("/first/1");
        probe.reveal("/second/1");
        QTRY_COMPARE_WITH_TIMEOUT(opened().size(), 2, kLongEnough);
        QTRY_COMPARE_WITH_TIMEOUT(probe.zombies(), 0, kLongEnough); // The shells that started them have gone.
        QFile end(folder("life"));
        QVERIFY(end.open(QIODevice::WriteOnly));
        QVERIFY(probe.end());
    }

    void nothingHappens_whenThereIsNoOpenerEither()
    {
        QVERIFY(QFile::remove(folder("bin/xdg-open")));
        Probe probe(addressOf("nowhere"), folder("bin"));
        QByteArray expected;
        for (int i = 0; i < 20; ++i) {
            probe.reveal("/d/1");
            expected += "Opening file /d/1\n";
        }
        QTRY_COMPARE_WITH_TIMEOUT(probe.returned(), 20, kLongEnough);
        QVERIFY(probe.end());
        QCOMPARE(probe.readAllStandardError(), expected); // no error is reported
    }

    void fileManager_isReached_afterTheBusWasRestarted_alsoAtTheFirstCall()
    {
        QList<QByteArray> expected;
        for (const bool isAskedBetween : {true, false}) {
            Probe probe(m_bus->address(), folder("bin"));
            probe.reveal("/first/1");
            expected.append("1 file:///first");
            QTRY_COMPARE_WITH_TIMEOUT(opened(), expected, kLongEnough);
            const int connected = probe.sockets();
            QVERIFY(connected > 0);
            m_bus->stop();
            if (isAskedBetween) {
                probe.reveal("/second/1");
                expected.append("1 file:///second");
                QTRY_COMPARE_WITH_TIMEOUT(opened(), expected, kLongEnough);
            } else { // It knows that the connection is lost.
                QTRY_COMPARE_WITH_TIMEOUT(probe.sockets(), connected - 1, kLongEnough);
            }
            QVERIFY(m_bus->start());
            reachesTheFileManager(probe);
            QCOMPARE(opened(), expected);
        }
    }

    void program_ends_whileTheFileManagerHasNotAnswered()
    {
        StandInFileManager fileManager(m_bus->address());
        Probe probe(m_bus->address(), folder("bin"));
        probe.reveal("/d/1");
        QTRY_COMPARE_WITH_TIMEOUT(fileManager.received.size(), 1, kLongEnough);
        QVERIFY(probe.end());
        QCOMPARE(opened(), QList<QByteArray>());
    }

    void program_waitsForABus_thatIsBeingConnectedTo()
    {
        DeadBus deadBus(folder("dead"));
        QVERIFY(deadBus.listens());
        Probe probe(addressOf("dead"), folder("bin"));
        probe.reveal("/d/1");
        QTRY_VERIFY_WITH_TIMEOUT(deadBus.somebodyWaits(), kLongEnough);
        probe.closeWriteChannel();
        QVERIFY(!probe.waitForFinished(500)); // and not for any time less than the bus takes
        deadBus.end();
        QVERIFY(probe.end());
    }

private:
    [[nodiscard]] QString folder(const char *name) const { return m_folder->filePath(QLatin1String(name)); }

    void reachesTheFileManager(Probe &probe) const
    {
        StandInFileManager fileManager(m_bus->address());
        probe.reveal("/last/1");
        QTRY_COMPARE_WITH_TIMEOUT(fileManager.received.size(), 1, kLongEnough);
        QCOMPARE(uriOf(fileManager.received.first()), QByteArray("file:///last/1"));
        fileManager.answer(0);
        QVERIFY(probe.end());
    }

    /// Of a bus whose socket has that name.
    [[nodiscard]] QString addressOf(const char *name) const { return QStringLiteral("unix:path=") + folder(name); }

    /// What the opener was started with, one entry each time.
    [[nodiscard]] QList<QByteArray> opened() const
    {
        QList<QByteArray> lines = readFile(folder("opened")).split('\n');
        lines.removeLast(); // what follows the last line's end: nothing, or a line that is being written
        return lines;
    }

    /// A stand-in for the desktop's opener, which logs what `command` says.
    [[nodiscard]] bool writeOpener(const QByteArray &command) const
    {
        const QByteArray log = QFile::encodeName(folder("opened"));
        return writeFile(folder("bin/xdg-open"), "#!/bin/sh\n" + command + " >> '" + log + "'\n") &&
               QFile::setPermissions(folder("bin/xdg-open"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<SessionBus> m_bus;
};

QTEST_GUILESS_MAIN(TestFinderLinux)
#include "tst_finder_linux.moc"
