#include "tests/support/capturedoutput.h"
#include "tests/support/teststreams.h"
#include "thumbs/thumbnailscanner.h"

#include <QApplication>
#include <QCommonStyle>
#include <QtTest>

#include <memory>

namespace {

// The results of a scan that went on while the application object was closing, or after it was gone.
struct LateScan
{
    bool isClosing = QCoreApplication::instance() && QCoreApplication::closingDown();
    QString recording; // empty where it could not be made
    QStringList files;
    int pixmaps = 0;
    QByteArray errors;
};

LateScan scanLate()
{
    LateScan late;
    const QTemporaryDir dir;
    late.recording = makeStream(dir.path(), {"recording.ts", {"-c:v", "mpeg2video"}, 20});
    CapturedOutput capture(stderr);
    // One call: by now nothing delivers the one that it posts.
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        ThumbnailScanner scanner;
        scanner.files = QStringList{late.recording};
        scanner.firstFrame = 3;
        QObject::connect(
            &scanner, &ThumbnailScanner::gotThumbs,
            [&late](const QString &file, const QVector<QPixmap *> &small, const QVector<QPixmap *> &large) {
                late.files << file;
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

/// A read that hangs on a dying disk can return after the program has stopped waiting for it. No pixmap can be made
/// then.
class TestThumbnailScannerAfterApplication : public QObject
{
    Q_OBJECT

public:
    TestThumbnailScannerAfterApplication(LateScan closing, LateScan closed)
        : whileClosing(std::move(closing))
        , afterwards(std::move(closed))
    {
    }

private slots:
    void scan_makesNoPixmaps_whileTheApplicationCloses()
    {
        QVERIFY(whileClosing.isClosing);
        makesNoPixmaps(whileClosing);
    }

    void scan_makesNoPixmaps_afterTheApplication() { makesNoPixmaps(afterwards); }

private:
    static void makesNoPixmaps(const LateScan &late)
    {
        QVERIFY(!late.recording.isEmpty());
        QCOMPARE(late.files, QStringList{late.recording});
        QCOMPARE(late.pixmaps, 0);
        QCOMPARE(late.errors, QByteArray());
    }

    LateScan whileClosing;
    LateScan afterwards;
};

int main(int argc, char **argv)
{
    LateScan closing;
    {
        const QApplication application(argc, argv);
        auto *style = new QCommonStyle;
        QObject::connect(style, &QObject::destroyed, [&closing] { closing = scanLate(); });
        QApplication::setStyle(style); // owned by the application, which deletes it as it closes
    }
    TestThumbnailScannerAfterApplication test(closing, scanLate());
    const QCoreApplication application(argc, argv);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_thumbnailscanner_afterapplication.moc"
