#include "tests/support/capturedoutput.h"
#include "thumbs/thumbnailscanner.h"
#include "tools/testpicture/numberedstream.h"

#include <QGuiApplication>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <memory>

using namespace quorvale;

namespace {

// What a scan did that went on after the application object was gone.
struct LateScan
{
    std::string problem = "not run";
    QStringList files;
    int pixmaps = 0;
    QByteArray errors;
};

LateScan scanWithoutApplication()
{
    LateScan late;
    const QTemporaryDir dir;
    NumberedStream stream;
    stream.path = dir.filePath("recording.ts").toStdString();
    stream.picture = {320, 240, ChromaFormat::Yuv420, false};
    stream.frames = 20;
    stream.encoderArguments = {"-c:v", "mpeg2video", "-f", "mpegts"};
    late.problem = encodeNumberedStream(stream).errors;

    CapturedOutput capture(stderr);
    // One call: without an application nothing delivers the one that it posts.
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        ThumbnailScanner scanner;
        scanner.files = QStringList{dir.filePath("recording.ts")};
        scanner.firstFrame = 3;
        QObject::connect(
            &scanner, &ThumbnailScanner::gotThumbs,
            [&late](const QString &file, const QVector<QPixmap *> &small, const QVector<QPixmap *> &large) {
                late.files << file.section('/', -1);
                late.pixmaps += int(small.size() + large.size());
            });
        scanner.process();
    }));
    thread->start();
    thread->wait();
    late.errors = capture.text();
    return late;
}

} // namespace

/// A read that hangs on a dying disk can return when the program has given up on it. No pixmap can be made then.
class TestThumbnailScannerAfterApplication : public QObject
{
    Q_OBJECT

public:
    explicit TestThumbnailScannerAfterApplication(LateScan scan)
        : late(std::move(scan))
    {
    }

private slots:
    void scan_makesNoPixmaps_afterTheApplication()
    {
        QCOMPARE(late.problem, std::string());
        QCOMPARE(late.files, QStringList{"recording.ts"});
        QCOMPARE(late.pixmaps, 0);
        QCOMPARE(late.errors, QByteArray());
    }

private:
    LateScan late;
};

int main(int argc, char **argv)
{
    {
        const QGuiApplication application(argc, argv);
    }
    TestThumbnailScannerAfterApplication test(scanWithoutApplication());
    const QCoreApplication application(argc, argv);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_thumbnailscanner_afterapplication.moc"
