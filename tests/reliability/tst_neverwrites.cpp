// Using the program changes nothing on a recorder's disk: its system calls are traced, the disk is compared before and
// after, and a read-only disk works as well.

#include "tests/platform/privatemounts.h"
#include "tests/reliability/tracedcalls.h"
#include "tests/support/teststreams.h"
#include "tests/support/testvolume.h"

#include <QtTest>

#include <sys/mount.h>
#include <sys/stat.h>

#include <map>

namespace {

constexpr int kPatienceMs = 60000; // traced and with a memory checker

QByteArray whyNoMounts;
QByteArray whyNoTrace;

const QByteArray kFirstVisit = "device RECORDER\n"
                               "  News, 0 MB, 2 pictures\n"
                               "  exported 112 bytes\n"
                               "  Torn, 0 MB, 0 pictures\n"
                               "  exported 112 bytes\n"
                               "  Gone, No file, 0 pictures\n"
                               "  exported 112 bytes\n"
                               "dialog: seen\n"
                               "dialog: seen\n"
                               "devices after a disk came: 1\n"
                               "added elsewhere\n"
                               "  Film, 0 MB, 2 pictures\n"
                               "  exported 112 bytes\n";

RecordBytes titled(const char *title)
{
    RecordBytes record;
    record.title = title;
    record.fileName = title;
    return record;
}

// All that is known of a folder's content, except the access times, which the kernel itself may write.
std::map<QString, QByteArray> footprint(const QString &folder)
{
    std::map<QString, QByteArray> entries;
    const auto add = [&](const QString &path) {
        struct stat facts = {};
        if (::lstat(QFile::encodeName(path).constData(), &facts) != 0)
            return;
        QByteArray known;
        for (const auto number :
             {qint64(facts.st_ino), qint64(facts.st_mode), qint64(facts.st_nlink), qint64(facts.st_uid),
              qint64(facts.st_size), qint64(facts.st_mtim.tv_sec), qint64(facts.st_mtim.tv_nsec),
              qint64(facts.st_ctim.tv_sec), qint64(facts.st_ctim.tv_nsec)})
            known += QByteArray::number(number) + ' ';
        if (S_ISREG(facts.st_mode))
            known += readFile(path);
        entries[path] = known;
    };
    add(folder);
    QDirIterator each(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                      QDirIterator::Subdirectories);
    while (each.hasNext())
        add(each.next());
    return entries;
}

struct Visit
{
    int exitCode = -1;
    QByteArray said;
    QByteArray errors;
    QByteArray calls; ///< where they were traced
};

} // namespace

class TestNeverWrites : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(work.isValid());
        const QString stream =
            makeStream(work.path(), {"news.ts", {"-c:v", "mpeg2video", "-q:v", "20", "-f", "mpegts"}, 310});
        QVERIFY(!stream.isEmpty());
        recording = readFile(stream);
        opener = work.filePath("bin");
        QVERIFY(QDir().mkpath(opener));
        const QString script = writeFile(opener, "xdg-open", "#!/bin/sh\n"); // the desktop's own stays closed
        QVERIFY(QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    }

    void trace_findsEveryWayOfWriting_data()
    {
        QTest::addColumn<QString>("command");
        QTest::newRow("create") << ": > $0/new";
        QTest::newRow("append") << "echo x >> $0/DVR/RECS/News.ts";
        QTest::newRow("touch") << "touch $0/DVR/RECSINFO/RECS.INF";
        QTest::newRow("touch through a descriptor") << "exec 5< $0/DVR; touch /proc/self/fd/5";
        QTest::newRow("rename") << "mv $0/DVR/RECS/News.ts $0/DVR/RECS/Olds.ts";
        QTest::newRow("directory") << "mkdir $0/new";
        QTest::newRow("remove") << "rm $0/DVR/RECS/News.ts";
        QTest::newRow("link") << "ln -s nowhere $0/new";
        QTest::newRow("permissions") << "chmod a-r $0/DVR/RECS/News.ts";
        QTest::newRow("shorten") << "truncate -s 5 $0/DVR/RECS/News.ts";
        QTest::newRow("open for both, change nothing") << "exec 5<> $0/DVR/RECS/News.ts";
        QTest::newRow("in the background") << "(touch $0/DVR) & wait";
        QTest::newRow("go there, where paths need not name it") << "cd $0 && mkdir new";
    }
    void trace_findsEveryWayOfWriting()
    {
        if (!whyNoTrace.isEmpty())
            QSKIP(whyNoTrace.constData());
        QFETCH(QString, command);
        const QTemporaryDir mountPoint;
        fill(mountPoint.path());
        const QString disk = mountPoint.filePath("RECORDER");
        const QByteArray calls = trace({"sh", "-c", command, disk});
        QVERIFY(!tracedcalls::changingCalls(calls, QFile::encodeName(disk)).isEmpty());
    }

    void trace_letsLookingPass()
    {
        if (!whyNoTrace.isEmpty())
            QSKIP(whyNoTrace.constData());
        const QTemporaryDir mountPoint;
        fill(mountPoint.path());
        const QString disk = mountPoint.filePath("RECORDER");
        const QByteArray calls = trace({"sh", "-c", "ls -lR '" + disk + "'; cat '" + disk + "/DVR/RECS/News.ts'"});
        QVERIFY(tracedcalls::callsAbout(calls, QFile::encodeName(disk)) > 10);
        QCOMPARE(tracedcalls::changingCalls(calls, QFile::encodeName(disk)).join('\n'), QByteArray());
    }

    void visit_changesNothing_onAWritableDisk()
    {
        const QTemporaryDir mountPoint;
        fill(mountPoint.path());
        const auto before = footprint(mountPoint.path());
        QVERIFY(before.size() > 10);
        const Visit done = visit(mountPoint.path(), false);
        QCOMPARE(done.said, kFirstVisit);
        QCOMPARE(done.exitCode, 0);
        QVERIFY(footprint(mountPoint.path()) == before);
    }

    void visit_asksForNoChange_asTheKernelSeesIt()
    {
        if (!whyNoTrace.isEmpty())
            QSKIP(whyNoTrace.constData());
        const QTemporaryDir mountPoint;
        fill(mountPoint.path());
        const Visit done = visit(mountPoint.path(), true);
        QCOMPARE(done.said, kFirstVisit);
        QCOMPARE(done.exitCode, 0);
        const QByteArray disks = QFile::encodeName(mountPoint.path());
        QVERIFY(tracedcalls::callsAbout(done.calls, disks + "/RECORDER/DVR/RECS/News.ts") > 10);
        QVERIFY(tracedcalls::callsAbout(done.calls, disks + "/RECORDER/DVR/RECSINFO/RECS.INF") > 3);
        QCOMPARE(tracedcalls::changingCalls(done.calls, disks).join('\n'), QByteArray());
    }

    void visit_goesTheSameWay_onAReadOnlyDisk()
    {
        if (!whyNoMounts.isEmpty())
            QSKIP(whyNoMounts.constData());
        const QTemporaryDir mountPoint;
        const Mount disk = Mount::disk(mountPoint.path());
        QVERIFY(disk.isMounted());
        fill(mountPoint.path());
        const QByteArray folder = QFile::encodeName(mountPoint.path());
        QCOMPARE(::mount(nullptr, folder.constData(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
        QVERIFY(!QFile(mountPoint.filePath("try")).open(QIODevice::WriteOnly));
        const Visit done = visit(mountPoint.path(), false);
        QCOMPARE(done.said, kFirstVisit);
        QCOMPARE(done.exitCode, 0);
        QVERIFY2(!done.errors.contains("ead-only"), done.errors);
    }

private:
    // A disk with a whole recording, a torn one and one that is gone, and a copy of a disk for opening by hand.
    void fill(const QString &mountPoint) const
    {
        const QString disk = mountPoint + "/RECORDER";
        QVERIFY(TestVolume::create(disk, {titled("News"), titled("Torn"), titled("Gone")}));
        QVERIFY(TestVolume::writeFile(disk + "/DVR/RECS/News.ts", recording));
        QVERIFY(TestVolume::writeFile(disk + "/DVR/RECS/Torn.ts", recording.left(60000)));
        QVERIFY(TestVolume::create(mountPoint + "/.hidden/elsewhere", {titled("Film")}));
        QVERIFY(TestVolume::writeFile(mountPoint + "/.hidden/elsewhere/DVR/RECS/Film.ts", recording));
    }

    QByteArray trace(const QStringList &program)
    {
        const QString log = work.filePath("calls");
        QStringList words = tracedcalls::command(log) + program;
        QProcess traced;
        const QString first = words.takeFirst();
        traced.start(first, words);
        traced.waitForFinished(kPatienceMs);
        return readFile(log);
    }

    Visit visit(const QString &mountPoint, bool traced)
    {
        const QTemporaryDir home;
        QDir(home.path()).mkpath("config/quorvale.org");
        QDir(home.path()).mkpath("exported");
        const QByteArray settings = "[Main]\nmount_point=" + mountPoint.toUtf8() + "\n";
        if (writeFile(home.filePath("config/quorvale.org"), "quorvale.conf", settings).isEmpty())
            return {};
        const QString log = home.filePath("calls");

        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_CONFIG_HOME", home.filePath("config"));
        environment.insert("PATH", opener + ':' + environment.value("PATH"));
        environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + home.filePath("no bus"));
        if (traced) // A tracer is in the way of the search for leaks, which other tests make.
            environment.insert("ASAN_OPTIONS", environment.value("ASAN_OPTIONS") + ":detect_leaks=0");

        QStringList words = traced ? tracedcalls::command(log) : QStringList();
        words << QUORVALE_VISITOR << home.filePath("exported") << mountPoint + "/.hidden/elsewhere";
        QProcess process;
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(home.path());
        const QString first = words.takeFirst();
        process.start(first, words);
        Visit done;
        if (process.waitForFinished(kPatienceMs) && process.exitStatus() == QProcess::NormalExit)
            done.exitCode = process.exitCode();
        done.said = process.readAllStandardOutput();
        done.errors = process.readAllStandardError();
        if (done.exitCode != 0)
            qWarning("%s", done.errors.constData());
        if (traced)
            done.calls = readFile(log);
        return done;
    }

    const QTemporaryDir work;
    QByteArray recording;
    QString opener;
};

int main(int argc, char **argv)
{
    whyNoMounts = enterPrivateMounts();
    QCoreApplication application(argc, argv);
    whyNoTrace = tracedcalls::whyNot();
    TestNeverWrites test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_neverwrites.moc"
