// What small files may cost: each is opened and read by a process of its own, whose memory the system reports.

#include "tests/support/hugestreams.h"
#include "tests/support/picture.h"
#include "tests/support/teststreams.h"
#include "video/ffvideo.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdio>

#include <sys/resource.h>

namespace {

constexpr int kPatienceMs = 300000;
constexpr qint64 kUsualMiB = 256; // pictures up to 1920x1088
constexpr qint64 kMostMiB = 1024;

#ifdef QUORVALE_SANITIZED
constexpr bool kMemoryIsOurs = false; // A checker keeps what was freed.
#else
constexpr bool kMemoryIsOurs = true;
#endif

#ifdef __APPLE__
constexpr qint64 kUnitsAMiB = 1024 * 1024;
#else
constexpr qint64 kUnitsAMiB = 1024;
#endif

// What the process of its own does. Says how many of the pictures could be decoded, and the most memory it took, in
// MiB.
int visit(const char *path)
{
    FFVideo video;
    int decoded = 0;
    if (video.Open(path, true, FFVideo::FF_ACCESS_READ)) {
        for (const int number : {0, 3, 10, 17, 20}) {
            Picture picture;
            // Pictures that are not copied were decoded all the same.
            decoded += video.Read(number, picture) || video.lastError == FFVideo::FF_ERROR_LAYOUT ? 1 : 0;
        }
    }
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("%d %lld\n", decoded, static_cast<long long>(usage.ru_maxrss / kUnitsAMiB));
    return 0;
}

} // namespace

class TestFFVideoBoundedMemory : public QObject
{
    Q_OBJECT

private slots:
    void memory_isBounded_whateverASmallFileClaims_data();
    void memory_isBounded_whateverASmallFileClaims();

private:
    // A stream that keeps 16 pictures of one colour.
    [[nodiscard]] QString keeping16(const QString &size, const QString &pixels, int pictures) const
    {
        return makeWithFFmpeg(dir.path(), size + pixels + ".ts",
                              {"-f", "lavfi", "-i", "color=s=" + size + ":r=25", "-frames:v", QString::number(pictures),
                               "-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", pixels, "-x264-params",
                               "ref=16:level=6.2:keyint=1000:bframes=0:scenecut=0:log=-1", "-f", "h264"});
    }

    const QTemporaryDir dir;
};

void TestFFVideoBoundedMemory::memory_isBounded_whateverASmallFileClaims_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<qint64>("mostBytes");
    QTest::addColumn<int>("fewestPictures");
    QTest::addColumn<int>("mostPictures");
    QTest::addColumn<qint64>("mostMiB");
    QTest::newRow("MP4 of 20 tracks with 4,400,000 samples each")
        << writeFile(dir.path(), "tracks.ts", hugestreams::mp4(20, 4400000)) << qint64{9000} << 0 << 0 << kUsualMiB;
    QTest::newRow("H.264 4:4:4 with 10 bits")
        << keeping16("1920x1088", "yuv444p10le", 22) << qint64{16000} << 2 << 4 << kUsualMiB;
    QTest::newRow("H.264 4:2:0") << keeping16("1920x1088", "yuv420p", 22) << qint64{30000} << 5 << 5 << kUsualMiB;
    QTest::newRow("H.264 4:2:2 with 10 bits")
        << keeping16("1920x1088", "yuv422p10le", 22) << qint64{30000} << 2 << 4 << kUsualMiB;
    QTest::newRow("H.264 of the largest size")
        << keeping16("8192x4320", "yuv420p", 18) << qint64{200000} << 2 << 3 << kMostMiB;
    QTest::newRow("HEVC of four times 1920x1080, 10 bits")
        << makeWithFFmpeg(dir.path(), "uhd.ts",
                          {"-f", "lavfi", "-i", "color=s=3840x2160:r=25", "-frames:v", "26", "-c:v", "libx265",
                           "-preset", "ultrafast", "-pix_fmt", "yuv420p10le", "-x265-params", "log-level=none", "-f",
                           "mpegts"})
        << qint64{400000} << 5 << 5 << kMostMiB;
}

void TestFFVideoBoundedMemory::memory_isBounded_whateverASmallFileClaims()
{
    QFETCH(const QString, path);
    QFETCH(const qint64, mostBytes);
    QFETCH(const int, fewestPictures);
    QFETCH(const int, mostPictures);
    QFETCH(const qint64, mostMiB);
    QVERIFY(!path.isEmpty());
    QVERIFY(QFileInfo(path).size() <= mostBytes);

    QProcess visitor;
    visitor.start(QCoreApplication::applicationFilePath(), {"--visit", path});
    QVERIFY(visitor.waitForFinished(kPatienceMs));
    QCOMPARE(visitor.exitStatus(), QProcess::NormalExit);
    const QList<QByteArray> words = visitor.readAllStandardOutput().simplified().split(' ');
    QCOMPARE(words.size(), 2);
    const int pictures = words.at(0).toInt();
    const qint64 mib = words.at(1).toLongLong();
    qInfo("%lld bytes: %d of 5 pictures, %lld MiB", QFileInfo(path).size(), pictures, mib);
    QVERIFY(pictures >= fewestPictures && pictures <= mostPictures);
    if (kMemoryIsOurs)
        QVERIFY(mib <= mostMiB);
}

int main(int argc, char **argv)
{
    if (argc == 3 && QByteArray(argv[1]) == "--visit")
        return visit(argv[2]);
    QCoreApplication application(argc, argv);
    TestFFVideoBoundedMemory test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_ffvideo_boundedmemory.moc"
