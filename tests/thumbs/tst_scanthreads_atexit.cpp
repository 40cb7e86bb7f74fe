#include "tests/support/capturedoutput.h"
#include "tests/support/teststreams.h"
#include "thumbs/scanthreads.h"
#include "thumbs/thumbnailscanner.h"

#include <QGuiApplication>
#include <QtTest>

#include <atomic>
#include <optional>

using namespace quorvale;

namespace {

constexpr int kRecordings = 2000; // far more than are scanned until the first series has arrived

// How a scan ended whose application object was destroyed in the middle of it.
struct AbandonedScan
{
    QString recording; // empty where it could not be made
    std::atomic<int> scanned{0};
    bool threadIsGone = false;
    bool scannerIsGone = false;
    QByteArray errors;
};

void scanUntilTheApplicationGoes(int argc, char **argv, AbandonedScan &scan)
{
    const QTemporaryDir dir;
    scan.recording = makeStream(dir.path(), {"recording.ts", {"-c:v", "mpeg2video"}, 30, {160, 120}});
    std::optional<CapturedOutput> capture; // from a running application to its end
    QPointer<QThread> thread;
    QPointer<ThumbnailScanner> scanner;
    {
        const QGuiApplication application(argc, argv);
        capture.emplace(stderr);
        thread = new QThread;           // deletes itself when it ends
        scanner = new ThumbnailScanner; // deletes itself when it has finished
        for (int i = 0; i < kRecordings; ++i)
            scanner->files << scan.recording;
        scanner->firstFrame = 5;
        scanner->frameStep = 900;
        scanner->moveToThread(thread);
        ScanThreads::instance().add(thread, scanner);
        QEventLoop loop;
        QObject::connect(thread, &QThread::started, scanner, &ThumbnailScanner::process);
        QObject::connect(
            scanner, &ThumbnailScanner::gotThumbs, scanner, [&] { ++scan.scanned; }, Qt::DirectConnection);
        QObject::connect(scanner, &ThumbnailScanner::gotThumbs, &loop, &QEventLoop::quit);
        QObject::connect(scanner, &ThumbnailScanner::finished, scanner, &QObject::deleteLater);
        QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
        thread->start();
        loop.exec();
    }
    scan.threadIsGone = thread.isNull();
    scan.scannerIsGone = scanner.isNull();
    scan.errors = capture->text();
}

} // namespace

/// A program that does not end its scans: they end with its application object, because a later pixmap would abort.
class TestScanThreadsAtExit : public QObject
{
    Q_OBJECT

public:
    explicit TestScanThreadsAtExit(const AbandonedScan &ended)
        : scan(ended)
    {
    }

private slots:
    void applicationsEnd_endsTheScanAtItsNextFile_withoutNoise()
    {
        QVERIFY(!scan.recording.isEmpty());
        QVERIFY(scan.threadIsGone);
        QVERIFY(scan.scannerIsGone);
        QVERIFY(scan.scanned > 0 && scan.scanned < kRecordings);
        QCOMPARE(scan.errors, QByteArray()); // The leak checker sees whether its last series are freed.
    }

private:
    const AbandonedScan &scan;
};

int main(int argc, char **argv)
{
    AbandonedScan scan;
    scanUntilTheApplicationGoes(argc, argv, scan);
    const QCoreApplication application(argc, argv);
    TestScanThreadsAtExit test(scan);
    return QTest::qExec(&test, argc, argv);
}
#include "tst_scanthreads_atexit.moc"
