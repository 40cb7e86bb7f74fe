// What small files may cost: each is opened and read by a process of its own, whose memory the system reports.

#include "tests/support/hugeclaims.h"
#include "tests/support/hugemp4.h"
#include "tests/support/picture.h"
#include "tests/support/processfacts.h"
#include "tests/support/teststreams.h"
#include "tests/support/transportstream.h"
#include "thumbs/thumbnailscanner.h"
#include "video/exact/exactreader.h"
#include "video/ffvideo.h"

#include <QEventLoop>
#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdio>

#include <sys/resource.h>

namespace {

constexpr int kPatienceMs = 300000;
constexpr qint64 kUsualMiB = 256; // pictures up to 1920x1088
constexpr qint64 kMostMiB = 1024;
constexpr int kAll = 5; // pictures that each reader asks for

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

// Each of these says how many of the pictures could be decoded. Pictures that are not copied were decoded all the same.
int readWithFFVideo(const char *path)
{
    FFVideo video;
    int decoded = 0;
    if (!video.Open(path, true, FFVideo::FF_ACCESS_READ))
        return 0;
    for (const int number : {0, 3, 10, 17, 20}) {
        Picture picture;
        decoded += video.Read(number, picture) || video.lastError == FFVideo::FF_ERROR_LAYOUT ? 1 : 0;
    }
    return decoded;
}

// Beside the open FFVideo, as the scanner does it; in an order that restarts in the middle.
int readExactly(const char *path)
{
    FFVideo video;
    int decoded = 0;
    if (!video.Open(path, true, FFVideo::FF_ACCESS_READ))
        return 0;
    quorvale::ExactReader reader(video);
    for (const int number : {20, 3, 17, 0, 10}) {
        Picture picture;
        const quorvale::ExactReader::Answer answer = reader.read(number, picture);
        decoded +=
            answer == quorvale::ExactReader::Answer::Picture || answer == quorvale::ExactReader::Answer::NotCopied ? 1
                                                                                                                   : 0;
    }
    return decoded;
}

int open(const char *path)
{
    FFVideo video;
    return video.Open(path, true, FFVideo::FF_ACCESS_READ) ? 1 : 0;
}

int scan(const char *path)
{
    ThumbnailScanner scanner;
    scanner.files = QStringList(QString::fromLocal8Bit(path));
    scanner.firstFrame = 0;
    scanner.frameStep = 5;
    int pictures = 0;
    QEventLoop loop;
    QObject::connect(&scanner, &ThumbnailScanner::gotThumbs,
                     [&](const QString &, const QVector<QPixmap *> &small, const QVector<QPixmap *> &large) {
                         pictures = static_cast<int>(small.size());
                         qDeleteAll(small);
                         qDeleteAll(large);
                     });
    QObject::connect(&scanner, &ThumbnailScanner::finished, &loop, &QEventLoop::quit, Qt::QueuedConnection);
    scanner.process();
    loop.exec();
    return pictures;
}

// What the process of its own does; says the most memory it took, too, in MiB.
int visit(const QByteArray &reader, const char *path)
{
    const int decoded = reader == "scanner" ? scan(path)
                        : reader == "exact" ? readExactly(path)
                        : reader == "open"  ? open(path)
                                            : readWithFFVideo(path);
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage); // on Linux, with the memory of the process that started this one
    const qint64 mib =
        processfacts::available() ? processfacts::mostResidentKiB() / 1024 : qint64{usage.ru_maxrss} / kUnitsAMiB;
    std::printf("%d %lld\n", decoded, static_cast<long long>(mib));
    return 0;
}

struct Visit
{
    int pictures = -1;
    qint64 mib = 0;
};

Visit visitWith(const QString &reader, const QString &path)
{
    QProcess visitor;
    visitor.start(QCoreApplication::applicationFilePath(), {"--visit", reader, path});
    if (!visitor.waitForFinished(kPatienceMs) || visitor.exitStatus() != QProcess::NormalExit)
        return {};
    const QList<QByteArray> words = visitor.readAllStandardOutput().simplified().split(' ');
    return words.size() == 2 ? Visit{words.at(0).toInt(), words.at(1).toLongLong()} : Visit();
}

} // namespace

class TestBoundedMemory : public QObject
{
    Q_OBJECT

private slots:
    void headers_areRefused_thatClaimTables_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        HugeMp4 samples;
        samples.tracks = 20;
        samples.samples = 4400000;
        QTest::newRow("samples") << samples.bytes();
        const auto add = [samples](const char *name, auto member, int value) {
            HugeMp4 file = samples;
            file.*member = value;
            QTest::newRow(name) << file.bytes();
        };
        add("samples, in a compressed header", &HugeMp4::isCompressed, 1);
        add("samples, after many boxes", &HugeMp4::boxesBefore, 4100);
        add("samples, after more boxes than there may be", &HugeMp4::boxesBefore, 260000);
        add("samples, inside the sample description", &HugeMp4::isHidden, 1);
        add("samples, before a track inside the track", &HugeMp4::isNested, 1);
        HugeMp4 sound;
        sound.tracks = 10;
        sound.isSound = true;
        sound.samplesAChunk = 1 << 20;
        QTest::newRow("chunks of sound") << sound.bytes();
        HugeMp4 many;
        many.tracks = 40;
        many.samples = 40000;
        QTest::newRow("tracks") << many.bytes();
        HugeMp4 edits;
        edits.tracks = 10;
        edits.samples = 20000;
        edits.edits = 200;
        QTest::newRow("edits") << edits.bytes();
        HugeMp4 fragments;
        fragments.fragments = 10;
        fragments.samplesInFragment = 500000;
        QTest::newRow("fragments") << fragments.bytes();
        QByteArray mxf = readFile(encoded("mxf", words("-f lavfi -i color=s=64x64:d=1 -c:v mpeg2video -f mxf")));
        const QByteArray emptySet = QByteArray::fromHex("060E2B34025301010D01010101010F0000");
        const int essence = int(mxf.indexOf(QByteArray::fromHex("060E2B34010201010D010301")));
        QVERIFY(essence > 0);
        QTest::newRow("MXF, sets") << QByteArray(mxf).insert(essence, emptySet.repeated(4000));
        const QByteArray duration = QByteArray::fromHex("3F0D0008"); // IndexDuration: its tag and length
        const int value = int(mxf.indexOf(duration)) + 4;
        QVERIFY(value > 4);
        QTest::newRow("MXF, an index table")
            << mxf.replace(value, 8, QByteArray::fromHex("0000000000500000")); // 5 million entries
        QTest::newRow("Matroska, tracks") << hugeMatroska("1654AE6B", "AE", 100000);
        const QByteArray tracks = matroskaElement("1654AE6B", QByteArray("\xAE\x80").repeated(100000));
        const QByteArray place = matroskaElement("53AB", QByteArray::fromHex("1654AE6B")) +
                                 matroskaElement("53AC", QByteArray(1, 56)); // inside the next element
        const QByteArray placeTable = matroskaElement("114D9B74", matroskaElement("4DBB", place));
        QCOMPARE(placeTable.size() + 9, 56);
        QTest::newRow("Matroska, tracks inside an empty element")
            << hugeMatroska("EC", "EC", 0, placeTable + matroskaElement("EC", tracks));
        QTest::newRow("Matroska, tracks after damage") << hugeMatroska("1654AE6B", "AE", 100000, QByteArray(100, '\0'));
        const QByteArray video = matroskaElement("D7", "\1") + matroskaElement("83", "\1") + // its number and kind
                                 matroskaElement("86", "V_MPEG2");
        const QByteArray large(32 << 20, '\0');
        QTest::newRow("Matroska, a track's header") << hugeMatroska(
            "EC", "EC", 0, matroskaElement("1654AE6B", matroskaElement("AE", video + matroskaElement("63A2", large))));
        const QByteArray attachment =
            matroskaElement("61A7", matroskaElement("466E", "a") + matroskaElement("4660", "b") +
                                        matroskaElement("46AE", "\1") + matroskaElement("465C", large));
        QTest::newRow("Matroska, attachments")
            << hugeMatroska("EC", "EC", 0, matroskaElement("1941A469", attachment + attachment));
        HugeJpeg2000 headed;
        headed.headerBytes = 32 << 20;
        QTest::newRow("AVI, a stream's header") << headed.avi();
        headed.headerBytes = 96 << 20;
        QTest::newRow("AVI, a longer one") << headed.avi();
        QByteArray texts = ";FFMETADATA1\n";
        for (int i = 0; i < 60000; ++i)
            texts += QByteArray::number(i) + "=a\n";
        const QString ogg =
            "-f lavfi -i color=d=1 -i " + writeFile(dir.path(), "list", texts) + " -map_metadata 1 -f ogg";
        QTest::newRow("Ogg, texts") << readFile(encoded("texts", words(ogg)));
        const QByteArray packets = readFile(hevc("64x64", "yuv420p", 24));
        QTest::newRow("transport stream, programmes") << transportstream::programmes(20000) + packets;
        const QByteArray h264 = readFile(keeping16("64x64", "yuv420p", 24));
        QTest::newRow("H.264, NAL units") << h264 + QByteArray::fromHex("0000010C80").repeated(30000) + h264;
        const QByteArray h265 = readFile(coloured("h265", "64x64", 24, "-c:v libx265 -f hevc"));
        const QByteArray units = h265 + QByteArray::fromHex("000001500105018080").repeated(30000) + h265;
        QTest::newRow("HEVC, NAL units") << units;
        const QString inPackets =
            "-f hevc -i " + writeFile(dir.path(), "raw", units) + " -c copy -bsf:v setts=ts=N*3600 -f mpegts";
        QTest::newRow("HEVC in packets, NAL units") << readFile(encoded("packets", words(inPackets)));
    }

    void headers_areRefused_thatClaimTables()
    {
        QFETCH(const QByteArray, bytes);
        QVERIFY(!bytes.isEmpty());
        const QString path = writeFile(dir.path(), "claim.ts", bytes);
        const Visit visit = visitWith("literal", path);
        qInfo("%d bytes: %lld MiB", int(bytes.size()), visit.mib);
        QCOMPARE(visit.pictures, 0);
        QCOMPARE(visitWith("open", path).pictures, 0);
        if (kMemoryIsOurs)
            QVERIFY(visit.mib <= kUsualMiB / 2);
    }

    void headers_areTaken_thatClaimWhatRecordingsHave_data()
    {
        QTest::addColumn<QStringList>("muxer");
        QTest::newRow("sound that is not coded, half an hour") << words("-c:a pcm_s16le -f mov");
        QTest::newRow("four tracks of sound") << words("-map 0 -map 1 -map 1 -map 1 -map 1 -c:a aac -f mp4");
        QTest::newRow("fragments") << words("-c:a aac -movflags frag_keyframe+empty_moov -f mp4");
        QTest::newRow("fragments with their index")
            << words("-c:a aac -movflags frag_keyframe+empty_moov+dash+global_sidx -f mp4");
        // Its bytes look like the beginnings of lists.
        const QByteArray lists = QByteArray::fromHex("1654AE6BFF00").repeated(1000);
        const QString font = writeFile(dir.path(), "font.ttf", lists + QByteArray(4 << 20, '\0'));
        QTest::newRow("a font") << words("-c:a aac -attach " + font + " -metadata:s:t mimetype=font/ttf -f matroska");
        QTest::newRow("texts and edits") << words("-c:a aac -bf 2 -metadata title=A -f mov");
        QTest::newRow("an AVI file's index") << words("-c:a mp2 -f avi");
    }

    void headers_areTaken_thatClaimWhatRecordingsHave()
    {
        QFETCH(const QStringList, muxer);
        const QString path =
            encoded("whole", words("-f lavfi -i testsrc2=s=64x64:r=1:d=1800 -f lavfi -i anullsrc=r=16000:cl=mono"
                                   " -t 1800 -c:v mpeg4") +
                                 muxer);
        QCOMPARE(visitWith("literal", path).pictures, kAll);
    }

    // 50 pictures a second and two tracks of as many samples: more than sound and subtitles have.
    void headers_areOpened_ofTenHours_withinTheBound()
    {
        HugeMp4 recording;
        recording.tracks = 3;
        recording.samples = 10 * 3600 * 50;
        recording.edits = 1;
        const QString path = writeFile(dir.path(), "tenhours.ts", recording.bytes());
        const Visit visit = visitWith("open", path);
        qInfo("%lld MiB", visit.mib);
        QCOMPARE(visit.pictures, 1);
        if (kMemoryIsOurs)
            QVERIFY(visit.mib <= kUsualMiB);
    }

    void pictures_areBounded_whateverTheStreamClaims_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<qint64>("mostBytes");
        QTest::addColumn<bool>("isReadInFull");
        QTest::addColumn<bool>("isCopied"); // its format is one that thumbnails are made of
        QTest::addColumn<qint64>("mostMiB");
        QTest::newRow("H.264 4:2:0") << keeping16("1920x1088", "yuv420p", 24) << qint64{30000} << true << true
                                     << kUsualMiB;
        QTest::newRow("H.264 4:4:4 with 10 bits")
            << keeping16("1920x1088", "yuv444p10le", 24) << qint64{16000} << false << false << kUsualMiB;
        QTest::newRow("H.264 4:4:4 with 10 bits, reordered")
            << keeping16("1920x1088", "yuv444p10le", 60, "bframes=16:b-adapt=0:b-pyramid=2") << qint64{60000} << false
            << false << kUsualMiB;
        QTest::newRow("H.264 4:2:2 with 10 bits")
            << keeping16("1920x1088", "yuv422p10le", 24) << qint64{30000} << false << false << kUsualMiB;
        const QString three = QString("-f lavfi -i color=s=1920x1088:r=25 ").repeated(3);
        QTest::newRow("three streams of H.264 4:4:4 with 10 bits")
            << encoded("three",
                       words(three + "-map 0 -map 1 -map 2 -frames:v 24 -c:v libx264 -preset ultrafast -pix_fmt"
                                     " yuv444p10le -x264-params ref=16:keyint=1000:bframes=0:log=-1 -f vob"))
            << qint64{200000} << false << false << kUsualMiB;
        QTest::newRow("H.264 of the largest size")
            << keeping16("8192x4320", "yuv420p", 24) << qint64{200000} << false << true << kMostMiB;
        // Only decoders work on these pictures, which are not copied: a sanitizer does not see them.
        if (kMemoryIsOurs) {
            QTest::newRow("HEVC of four times 1920x1080, 10 bits")
                << hevc("3840x2160", "yuv420p10le", 24) << qint64{400000} << true << false << kMostMiB;
            const QString largest = hevc("7680x4320", "yuv420p10le", 24);
            QTest::newRow("HEVC of the largest size, 10 bits")
                << largest << qint64{800000} << true << false << kMostMiB;
            QTest::newRow("AV1 of four times 1920x1080, 10 bits")
                << av1("3840x2160", 24) << qint64{200000} << true << false << kMostMiB;
            QTest::newRow("AV1 of the largest size, 10 bits")
                << av1("7680x4320", 12) << qint64{400000} << false << false << kMostMiB;
            QTest::newRow("HEVC of the largest size, with a cover picture")
                << encoded("cover", words("-i " + largest +
                                          " -f lavfi -i color=s=1920x1080:r=25:d=0.04 -map 0 -map 1"
                                          " -c:v:0 copy -c:v:1 mjpeg -disposition:v:1 attached_pic -f mp4"))
                << qint64{800000} << true << false << kMostMiB;
        }
        HugeJpeg2000 picture;
        picture.components = 4;
        picture.levels = 0;
        picture.lowest = 0x11;
        QTest::newRow("JPEG 2000 in precincts of four pixels")
            << writeFile(dir.path(), "precincts.ts", picture.avi()) << qint64{2000} << false << false << kUsualMiB;
        QTest::newRow("FFV1 in 900 slices") << ffv1("900", "yuv420p") << qint64{200000} << false << false << kUsualMiB;
        QTest::newRow("FFV1 in 120 slices, 4:4:4 with alpha and 16 bits")
            << ffv1("120", "yuva444p16le", 21) << qint64{2000000} << true << false << kUsualMiB;
        const QByteArray large = readFile(keeping16("3840x2160", "yuv420p", 12));
        const QByteArray usual = readFile(keeping16("1920x1088", "yuv420p", 24));
        QTest::newRow("H.264 that becomes smaller")
            << (large.isEmpty() || usual.isEmpty() ? QString() : writeFile(dir.path(), "smaller.ts", large + usual))
            << qint64{60000} << true << true << kMostMiB;
    }

    void pictures_areBounded_whateverTheStreamClaims()
    {
        QFETCH(const QString, path);
        QFETCH(const qint64, mostBytes);
        QFETCH(const bool, isReadInFull);
        QFETCH(const bool, isCopied);
        QFETCH(const qint64, mostMiB);
        QVERIFY(!path.isEmpty());
        const qint64 bytes = QFileInfo(path).size();
        QVERIFY2(bytes <= mostBytes, qPrintable(QString::number(bytes)));
        for (const char *reader : {"literal", "exact", "scanner"}) {
            const Visit visit = visitWith(reader, path);
            qInfo("%lld bytes, %s: %d of %d pictures, %lld MiB", bytes, reader, visit.pictures, kAll, visit.mib);
            QVERIFY(visit.pictures >= 0);
            if (isReadInFull && (QLatin1String(reader) == QLatin1String("literal") ||
                                 (isCopied && QLatin1String(reader) == QLatin1String("scanner"))))
                QVERIFY(visit.pictures >= kAll); // the scanner goes on to the end
            if (kMemoryIsOurs)
                QVERIFY(visit.mib <= mostMiB);
        }
    }

private:
    [[nodiscard]] QString encoded(const QString &name, const QStringList &encoder) const
    {
        return makeWithFFmpeg(dir.path(), name + ".ts", encoder);
    }
    [[nodiscard]] QString coloured(const QString &name, const QString &size, int pictures, const QString &encoder) const
    {
        const QString input = QString("-f lavfi -i color=s=%1:r=25 -frames:v %2 ").arg(size).arg(pictures);
        return encoded(name + size, words(input + encoder));
    }
    // A stream of `pictures` pictures of one colour that keeps as many of them as there may be.
    [[nodiscard]] QString keeping16(const QString &size, const QString &pixels, int pictures,
                                    const QString &more = "bframes=0") const
    {
        return coloured(pixels + more.left(9), size, pictures,
                        "-c:v libx264 -preset ultrafast -pix_fmt " + pixels +
                            " -x264-params ref=16:level=6.2:keyint=1000:scenecut=0:log=-1:" + more + " -f h264");
    }
    [[nodiscard]] QString av1(const QString &size, int pictures) const
    {
        return coloured("av1", size, pictures, "-pix_fmt yuv420p10le -c:v libsvtav1 -preset 12 -f ivf");
    }
    [[nodiscard]] QString hevc(const QString &size, const QString &pixels, int pictures) const
    {
        return coloured("hevc", size, pictures,
                        "-c:v libx265 -preset ultrafast -pix_fmt " + pixels +
                            " -x265-params ref=5:bframes=4:b-pyramid=1:log-level=none -f mpegts");
    }
    [[nodiscard]] QString ffv1(const QString &slices, const QString &pixels, int pictures = 1) const
    {
        return coloured("ffv1" + pixels, "1920x1088", pictures,
                        "-pix_fmt " + pixels + " -slices " + slices +
                            " -c:v ffv1 -level 3 -coder 1 -context 1 -f matroska");
    }

    const QTemporaryDir dir;
};

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    if (argc == 4 && QByteArray(argv[1]) == "--visit")
        return visit(argv[2], argv[3]);
    TestBoundedMemory test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_boundedmemory.moc"
