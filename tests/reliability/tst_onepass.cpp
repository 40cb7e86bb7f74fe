// How the scanner reads a recording on a slow disk: once, from its beginning, and no farther than it needs. Only the
// groups of the wanted pictures are read again, soon after, when the system still has them in memory.

#include "tests/support/faultydisk.h"
#include "tests/support/openvideo.h"
#include "tests/support/teststreams.h"
#include "thumbs/thumbnailscanner.h"

#include <QtTest>

class TestOnePass : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(dir.isValid()); }

    void scan_readsOnceAndEachWantedGroupAgain_data()
    {
        QTest::addColumn<QStringList>("encoder");
        QTest::newRow("MPEG-2") << QStringList{"-c:v", "mpeg2video", "-b:v", "2M", "-g", "15", "-bf", "2"};
        QTest::newRow("H.264") << QStringList{"-c:v", "libx264", "-preset", "ultrafast", "-b:v", "2M", "-g", "25"};
    }
    void scan_readsOnceAndEachWantedGroupAgain()
    {
        QFETCH(const QStringList, encoder);
        const QString path = makeStream(dir.path(), {"whole.ts", encoder + QStringList{"-f", "mpegts"}, 1500});
        QVERIFY(!path.isEmpty());
        const std::int64_t size = QFile(path).size();

        faultydisk::Watch watch(path.toStdString());
        {
            FFVideo video;
            QVERIFY(open(video, path));
        }
        const faultydisk::Counts opening = watch.onMainThread();
        watch.resetCounts();

        ThumbnailScanner scanner;
        scanner.files = QStringList{path};
        int pictures = 0;
        connect(&scanner, &ThumbnailScanner::gotThumbs, &scanner,
                [&](const QString &, const QVector<QPixmap *> &small, const QVector<QPixmap *> &large) {
                    pictures = int(small.size());
                    qDeleteAll(small);
                    qDeleteAll(large);
                });
        scanner.process();
        const faultydisk::Counts scan = watch.onMainThread();
        QCOMPARE(pictures, 5);
        // Two more demultiplexers are opened, and one of them goes to each picture.
        QVERIFY2(scan.seeks <= opening.seeks + 2 + 5, qPrintable(QString::number(scan.seeks)));
        // Up to the last picture, and what is looked at after it: half of the recording. Then five groups of it, and
        // the beginning.
        QVERIFY2(scan.bytesRead <= opening.bytesRead + size * 6 / 10 + size / 10,
                 qPrintable(QStringLiteral("%1 of %2").arg(scan.bytesRead).arg(size)));
    }

private:
    const QTemporaryDir dir;
};

QTEST_MAIN(TestOnePass)
#include "tst_onepass.moc"
