#include "tests/platform/privatemounts.h"
#include "tests/support/readhook.h"
#include "tests/support/teststreams.h"
#include "tests/thumbs/scanrun.h"
#include "thumbs/scanthreads.h"

#include <QtTest>

#include <cerrno>
#include <memory>

using namespace quorvale;

namespace {

QByteArray whyNoMounts;

const Numbers kAll = {100, 300, 500, 700};

// Those that lie well before the middle of the file.
const Numbers kBeforeTheMiddle = {100, 300};

} // namespace

/// What happens to a disk, and to a file on it, exactly while it is read.
class TestThumbnailScannerDyingDisk : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        // So many bytes that opening, which reads 5 MB of packets, does not come near the middle.
        const QString encoder = "-vf noise=alls=9:allf=t -c:v mpeg2video -q:v 2 -g 2 -muxrate 12M";
        original = makeStream(dir.path(), {"original.ts", words(encoder), 720});
        QVERIFY(QFileInfo(original).size() > 12 << 20);
    }

    void init()
    {
        disk = dir.filePath("disk");
        QVERIFY(QDir().mkpath(disk));
    }

    void cleanup()
    {
        mount.reset();
        QVERIFY(QDir(disk).removeRecursively());
        files.clear();
    }

    void scan_keepsWhatItGot_whenTheFileShrinksWhileItIsRead()
    {
        fill(2);
        const ReadHook hook(files.at(0), middle(), end(),
                            [&] { return QFile::resize(files.at(0), 1000) ? 0 : EINVAL; });
        keepsHalfOfTheFirst();
    }

    void scan_keepsWhatItGot_whenTheDiskFailsInTheMiddleOfAFile()
    {
        fill(2);
        const ReadHook hook(files.at(0), middle(), end(), [] { return EIO; });
        keepsHalfOfTheFirst();
    }

    void scan_reportsAFileAsMissing_whenTheDiskFailsAtItsBeginning()
    {
        fill(2);
        const ReadHook hook(files.at(0), 0, end(), [] { return EIO; });
        const ScanResult result = scan();
        QCOMPARE(result.events, (QStringList{"missingVideo " + files.at(0), "gotThumbs " + files.at(1), "finished"}));
        QCOMPARE(result.errors, QByteArray());
    }

    void scan_completesTheFileInHand_whenAllAreDeletedWhileItIsRead()
    {
        fill(3);
        const ReadHook hook(files.at(0), middle(), end(), [&] { return QDir(disk).removeRecursively() ? 0 : EINVAL; });
        completesOnlyTheFirst();
    }

    void scan_completesTheFileInHand_whenTheDiskIsTakenAwayWhileItIsRead()
    {
        mountDisk();
        fill(3);
        const ReadHook hook(files.at(0), middle(), end(), [&] {
            mount.reset(); // as a disk that is pulled: what is open stays open, no name leads there any more
            return 0;
        });
        completesOnlyTheFirst();
    }

    void scan_reportsTheRestAsMissing_whenTheDiskIsEjectedBetweenTwoFiles()
    {
        mountDisk();
        fill(3);
        ThumbnailScanner scanner;
        setUp(scanner);
        bool ejected = false;
        connect(&scanner, &ThumbnailScanner::gotThumbs, this, [&] { ejected = mount->unmount(); });
        QCOMPARE(runScan(scanner).events, (QStringList{"gotThumbs " + files.at(0), "missingVideo " + files.at(1),
                                                       "missingVideo " + files.at(2), "finished"}));
        QVERIFY(ejected); // The scanner had nothing open there.
    }

    void end_doesNotWait_forAReadThatHangsInTheMiddleOfAFile()
    {
        fill(2);
        QSemaphore reading;
        QSemaphore diskAnswers;
        const ReadHook hook(files.at(0), middle(), end(), [&] {
            reading.release();
            diskAnswers.acquire();
            return 0;
        });
        auto *thread = new QThread; // deletes itself
        const QPointer<QThread> running = thread;
        auto *scanner = new ThumbnailScanner;
        setUp(*scanner);
        scanner->moveToThread(thread);
        ScanThreads::instance().add(thread, scanner);
        connect(thread, &QThread::started, scanner, &ThumbnailScanner::process);
        connect(scanner, &ThumbnailScanner::finished, scanner, &QObject::deleteLater);
        connect(thread, &QThread::finished, thread, &QObject::deleteLater);
        thread->start();
        reading.acquire();
        QVERIFY(!ScanThreads::instance().end(50));
        QVERIFY(running && running->isRunning());
        diskAnswers.release();
        QVERIFY(ScanThreads::instance().end(60000));
        QVERIFY(!running);
    }

private:
    void mountDisk()
    {
        if (!whyNoMounts.isEmpty())
            QSKIP(whyNoMounts.constData());
        mount.reset(new Mount(Mount::disk(disk)));
        QVERIFY(mount->isMounted());
    }

    void fill(int recordings)
    {
        for (int i = 0; i < recordings; ++i) {
            files << disk + QStringLiteral("/%1.ts").arg(i);
            QVERIFY(QFile::copy(original, files.last()));
        }
    }

    // Opening a file reads its beginning and, for its length, its last 250 kB: neither reaches what lies between.
    [[nodiscard]] qint64 middle() const { return QFileInfo(original).size() / 2; }
    [[nodiscard]] qint64 end() const { return middle() + 500000; }

    void setUp(ThumbnailScanner &scanner) const
    {
        scanner.files = files;
        scanner.firstFrame = 100;
        scanner.frameStep = 200;
    }

    [[nodiscard]] ScanResult scan() const
    {
        ThumbnailScanner scanner;
        setUp(scanner);
        return runScan(scanner);
    }

    void keepsHalfOfTheFirst() const
    {
        const ScanResult result = scan();
        QCOMPARE(result.events, (QStringList{"gotThumbs " + files.at(0), "gotThumbs " + files.at(1), "finished"}));
        QCOMPARE(result.errors, kUnreadable);
        QCOMPARE(numbersIn(result.series.at(0).large), kBeforeTheMiddle);
        QCOMPARE(numbersIn(result.series.at(1).large), kAll);
    }

    void completesOnlyTheFirst() const
    {
        const ScanResult result = scan();
        QCOMPARE(result.events, (QStringList{"gotThumbs " + files.at(0), "missingVideo " + files.at(1),
                                             "missingVideo " + files.at(2), "finished"}));
        QCOMPARE(numbersIn(result.series.at(0).large), kAll);
    }

    QTemporaryDir dir;
    QString original;
    QString disk;
    QStringList files;
    std::unique_ptr<Mount> mount;
};

int main(int argc, char **argv)
{
    whyNoMounts = enterPrivateMounts();
    const QGuiApplication application(argc, argv);
    TestThumbnailScannerDyingDisk test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_thumbnailscanner_dyingdisk.moc"
