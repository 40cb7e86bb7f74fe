#include "tests/support/sanitized.h"
#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "tests/thumbs/rawpicture.h"
#include "tests/thumbs/scanrun.h"

#include <sys/stat.h>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

using namespace quorvale;

namespace {

// Bytes that the C library has handed out and not got back.
std::size_t bytesInUse()
{
#if defined(__GLIBC__)
    return mallinfo2().uordblks;
#else
    return 0;
#endif
}

} // namespace

/// Files that are not what their name says, that are damaged, or that go away.
class TestThumbnailScannerFiles : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        longFile = makeStream(dir.path(), {"long.ts", {"-c:v", "libx264", "-preset", "ultrafast", "-crf", "30"}, 780});
        tinyFile = makeStream(dir.path(), {"tiny.ts", {"-c:v", "mpeg2video", "-q:v", "10"}, 8});
        QVERIFY(!longFile.isEmpty() && !tinyFile.isEmpty());
    }

    void scan_reportsAFileWithoutVideoAsMissing_andGoesOn_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("one byte") << QByteArray("G");
        QTest::newRow("zeros") << QByteArray(300000, '\0');
        QTest::newRow("transport packets without content")
            << QByteArray("G\x1F\xFF\x10" + QByteArray(184, '\xFF')).repeated(2000);
        QTest::newRow("text") << QByteArray("not a recording\n").repeated(10000);
    }
    void scan_reportsAFileWithoutVideoAsMissing_andGoesOn()
    {
        QFETCH(QByteArray, content);
        const QString path = writeFile(dir.path(), "odd.ts", content);
        QVERIFY(!path.isEmpty());
        const ScanResult result = runScan({path, tinyFile}, 2, 900);
        QCOMPARE(result.events, (QStringList{"missingVideo " + path, "gotThumbs " + tinyFile, "finished"}));
        QCOMPARE(numbersIn(result.series.at(0).large), (Numbers{2}));
        QCOMPARE(result.errors, QByteArray());
    }

    void scan_reportsWhatIsNoFileAsMissing_andGoesOn()
    {
        const QString directory = dir.filePath("directory.ts");
        QVERIFY(QDir().mkpath(directory));
        const QString dangling = dir.filePath("dangling.ts");
        QVERIFY(QFile::link(dir.filePath("nowhere"), dangling));
        const QString absent = dir.filePath("absent.ts");
        const QString beneathAFile = tinyFile + "/beneath.ts";
        const QString nameless;
        const QString pipe = dir.filePath("pipe.ts"); // that nobody writes to
        QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        const QString device = dir.filePath("device.ts");
        QVERIFY(QFile::link("/dev/zero", device));
        const ScanResult result =
            runScan({directory, dangling, absent, beneathAFile, nameless, pipe, device, tinyFile}, 2, 900);
        QCOMPARE(result.events,
                 (QStringList{"missingVideo " + directory, "missingVideo " + dangling, "missingVideo " + absent,
                              "missingVideo " + beneathAFile, "missingVideo " + nameless, "missingVideo " + pipe,
                              "missingVideo " + device, "gotThumbs " + tinyFile, "finished"}));
        QCOMPARE(result.errors, QByteArray());
    }

    void scan_reportsARadioRecordingAsMissing()
    {
        const QString radio =
            makeWithFFmpeg(dir.path(), "radio.ts", {"-f", "lavfi", "-i", "sine=duration=2", "-c:a", "mp2"});
        QVERIFY(!radio.isEmpty());
        QCOMPARE(runScan(QStringList{radio}).events, (QStringList{"missingVideo " + radio, "finished"}));
    }

    void scan_keepsWhatItGot_ofATruncatedFile()
    {
        const QString path = dir.filePath("truncated.ts");
        QVERIFY(QFile::copy(longFile, path));
        QVERIFY(QFile::resize(path, QFileInfo(path).size() / 2 + 77)); // in the middle of a packet
        const ScanResult result = runScan(QStringList{path});
        QCOMPARE(result.events, (QStringList{"gotThumbs " + path, "finished"}));
        QCOMPARE(result.errors, kUnreadable);
        const Numbers numbers = numbersIn(result.series.at(0).large);
        QVERIFY(!numbers.empty() && numbers.size() < 5);
        for (std::size_t i = 0; i < numbers.size(); ++i)
            QCOMPARE(numbers.at(i), std::optional<unsigned>(150 * unsigned(i + 1)));
    }

    void scan_survivesDamage_inTheMiddleOfAFile()
    {
        const QString path = dir.filePath("damaged.ts");
        QByteArray bytes = readFile(longFile);
        quint32 noise = 20240229;
        for (int at = int(bytes.size()) / 4; at + 40 < bytes.size(); at += 5003) {
            for (int i = 0; i < 40; ++i) {
                noise = noise * 1664525 + 1013904223;
                bytes[at + i] = char(noise >> 24);
            }
        }
        QVERIFY(writeFile(path, bytes));
        const ScanResult result = runScan({path, tinyFile});
        QCOMPARE(result.events, (QStringList{"gotThumbs " + path, "gotThumbs " + tinyFile, "finished"}));
        const ScannedSeries &series = result.series.at(0);
        QCOMPARE(series.small.size(), series.large.size());
        QCOMPARE(numbersIn({series.large.at(0)}), (Numbers{150})); // lies before the damage
        for (const QImage &image : series.large)
            QCOMPARE(image.size(), QSize(320, 240));
    }

    void scan_reportsTheRestAsMissing_whenTheDiskGoesAway()
    {
        const QString disk = dir.filePath("disk");
        QVERIFY(QDir().mkpath(disk));
        QStringList files;
        for (int i = 0; i < 5; ++i) {
            files << disk + QStringLiteral("/%1.ts").arg(i);
            QVERIFY(QFile::copy(tinyFile, files.last()));
        }
        ThumbnailScanner scanner;
        scanner.files = files;
        scanner.firstFrame = 1;
        scanner.frameStep = 900;
        connect(&scanner, &ThumbnailScanner::gotThumbs, this, [&](const QString &file) {
            if (file == files.at(1))
                QVERIFY(QDir(disk).removeRecursively());
        });
        QCOMPARE(runScan(scanner).events,
                 (QStringList{"gotThumbs " + files.at(0), "gotThumbs " + files.at(1), "missingVideo " + files.at(2),
                              "missingVideo " + files.at(3), "missingVideo " + files.at(4), "finished"}));
    }

    void scan_ofAThousandUnreadableFiles_needsNoMemoryForThem()
    {
        const QString zeros = writeFile(dir.path(), "zeros.ts", QByteArray(10000, '\0'));
        QVERIFY(!zeros.isEmpty());
        QStringList files;
        for (int i = 0; i < 500; ++i)
            files << zeros << dir.filePath(QStringLiteral("absent%1.ts").arg(i));
        compareMemory(files);
    }

    void scan_ofManyRecordings_needsNoMemoryButForThePixmaps()
    {
        QStringList files;
        for (int i = 0; i < 100; ++i)
            files << tinyFile;
        compareMemory(files);
    }

    void scan_takesFivePictures_ofARealRecording()
    {
        const QString path = samplePath("h264-234p-61s-truncated.ts").value_or(QString());
        if (path.isEmpty())
            QSKIP("needs the real captures");
        const ScanResult result = runScan(QStringList{path});
        QCOMPARE(result.events, (QStringList{"gotThumbs " + path, "finished"}));
        QCOMPARE(result.errors, QByteArray());
        const ScannedSeries &series = result.series.at(0);
        QCOMPARE(series.large.size(), std::size_t(5));
        for (int i = 0; i < 5; ++i)
            compareWithProgram(series, i, path, 150 * (i + 1), {416, 234}, {0, 0});
    }

    void scan_showsARealRecording_inItsDisplaysShape()
    {
        const QString path = samplePath("mpeg2-704x576i-16x11-subs.ts").value_or(QString());
        if (path.isEmpty())
            QSKIP("needs the real captures");
        const ScanResult result = runScan(QStringList{path}, 60, 900);
        QCOMPARE(result.errors, QByteArray());
        const ScannedSeries &series = result.series.at(0);
        QCOMPARE(series.large.size(), std::size_t(1));
        QCOMPARE(series.small.at(0).size(), QSize(213, 120));
        compareWithProgram(series, 0, path, 60, {704, 576}, {426, 240});
    }

    void scan_getsNoPictures_ofARecordingThatIsTooShort_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("errors");
        QTest::newRow("116 pictures") << "mpeg2-704x576i-16x11-subs.ts" << kUnreadable;
        QTest::newRow("150 pictures, damaged") << "h264-576i-16x11-eac3.ts" << kUnreadable;
        QTest::newRow("126 pictures, from the middle") << "h264-1080i5994-dirtystart-mp2.ts" << kUnreadable;
        QTest::newRow("ten bits, which the reader refuses")
            << "hevc-main10-360p-12s.ts" << QByteArray("FFMPEG pixel format is something else, 62\n") + kUnreadable;
    }
    void scan_getsNoPictures_ofARecordingThatIsTooShort()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, errors);
        const QString path = samplePath(name).value_or(QString());
        if (path.isEmpty())
            QSKIP("needs the real captures");
        const ScanResult result = runScan(QStringList{path});
        QCOMPARE(result.events, (QStringList{"gotThumbs " + path, "finished"}));
        QCOMPARE(result.errors, errors);
        QVERIFY(result.series.at(0).small.empty() && result.series.at(0).large.empty());
    }

    void scan_reportsRealStreamsWithoutVideo_asMissing()
    {
        const auto radio = samplePath("radio-mp2-12s-damaged.ts");
        const auto guide = samplePath("epg-only-no-av.ts");
        if (!radio || !guide)
            QSKIP("needs the real captures");
        const QStringList files{*radio, *guide};
        QCOMPARE(runScan(files).events,
                 (QStringList{"missingVideo " + files.at(0), "missingVideo " + files.at(1), "finished"}));
    }

private:
    // Scans twice: what the first pass leaves is caches, what the second adds is kept per recording.
    static void compareMemory(const QStringList &files)
    {
        const auto scan = [&files] {
            ThumbnailScanner scanner;
            scanner.files = files;
            scanner.firstFrame = 1;
            scanner.frameStep = 900;
            int handled = 0;
            bool finished = false;
            QObject::connect(&scanner, &ThumbnailScanner::missingVideo, [&] { ++handled; });
            QObject::connect(&scanner, &ThumbnailScanner::gotThumbs,
                             [&](const QString &, const QVector<QPixmap *> &small, const QVector<QPixmap *> &large) {
                                 ++handled;
                                 qDeleteAll(small);
                                 qDeleteAll(large);
                             });
            QObject::connect(&scanner, &ThumbnailScanner::finished, [&] { finished = true; });
            scanner.process();
            QTRY_VERIFY_WITH_TIMEOUT(finished, 100000);
            QCOMPARE(handled, int(files.size()));
        };
        scan();
        const std::size_t before = bytesInUse();
        scan();
        const std::size_t after = bytesInUse();
        // A sanitizer's allocator counts otherwise; there its leak check is the judge.
        if (!kIsSanitized)
            QVERIFY2(after < before + 64 * 1024, qPrintable(QString::number(after - before)));
    }

    // `exactSize` empty: the picture keeps its shape.
    static void compareWithProgram(const ScannedSeries &series, int index, const QString &path, int number, QSize size,
                                   QSize exactSize)
    {
        const RawPicture raw = rawPicture(path, number, QStringLiteral("yuv420p"), size);
        QVERIFY(!raw.bytes.isEmpty());
        const QImage picture = expectedFromPlanes(raw, true);
        const QImage expected = exactSize.isEmpty()
                                    ? picture.scaled(320, 240, Qt::KeepAspectRatio, Qt::SmoothTransformation)
                                    : picture.scaled(exactSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        QImage actual = series.large.at(std::size_t(index));
        actual.setDevicePixelRatio(1.0);
        QCOMPARE(actual.convertToFormat(QImage::Format_RGB32), expected.convertToFormat(QImage::Format_RGB32));
    }

    QTemporaryDir dir;
    QString longFile; // 780 pictures
    QString tinyFile; // 8 pictures
};

TEST_CLASS(TestThumbnailScannerFiles, QApplication)
#include "tst_thumbnailscanner_files.moc"
