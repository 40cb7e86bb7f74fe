// What the pictures of small files may cost.

#include "tests/reliability/costlystreams.h"
#include "tests/reliability/memoryvisit.h"
#include "tests/support/hugeclaims.h"
#include "tests/support/sanitized.h"
#include "tests/support/testclass.h"
#include "tests/support/transportstream.h"
#include "tests/video/h264syntax.h"
#include "tests/video/hevcsyntax.h"

using namespace memoryvisit;

class TestBoundedPictures : public QObject
{
    Q_OBJECT

private slots:
    void pictures_areBounded_whateverTheStreamClaims_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<qint64>("mostBytes");
        QTest::addColumn<bool>("isReadInFull");
        QTest::addColumn<bool>("isCopied"); // its format is one that thumbnails are made of
        QTest::addColumn<qint64>("mostMiB");
        const auto row = [](const char *name, const QString &path, qint64 mostBytes, bool isReadInFull, bool isCopied,
                            qint64 mostMiB = kUsualMiB) {
            QTest::newRow(name) << path << mostBytes << isReadInFull << isCopied << mostMiB;
        };
        row("H.264 4:2:0", streams.keeping16("1920x1088", "yuv420p", 24), 30000, true, true);
        row("H.264 of the largest size", streams.keeping16("8192x4320", "yuv420p", 24), 200000, false, true, kMostMiB);
        // Only decoders work on these pictures, which are not copied: a sanitizer does not see them.
        if (!kIsSanitized) {
            const QString ten = "yuv444p10le";
            row("H.264 4:4:4 with 10 bits", streams.keeping16("1920x1088", ten, 24), 16000, false, false);
            row("H.264 4:4:4 with 10 bits, reordered",
                streams.keeping16("1920x1088", ten, 60, "bframes=16:b-adapt=0:b-pyramid=2"), 60000, false, false);
            row("H.264 4:2:2 with 10 bits", streams.keeping16("1920x1088", "yuv422p10le", 24), 30000, false, false);
            const QString three = QString("-f lavfi -i color=s=1920x1088:r=25 ").repeated(3) +
                                  "-map 0 -map 1 -map 2 -frames:v 24 -c:v libx264 -preset ultrafast -pix_fmt "
                                  "yuv444p10le -x264-params ref=16:keyint=1000:bframes=0:log=-1 -f vob";
            row("three streams of H.264 4:4:4", streams.encoded("three", words(three)), 200000, false, false);
            row("HEVC of four times 1920x1080, 10 bits", streams.hevc("3840x2160", "yuv420p10le", 24), 400000, true,
                false, kMostMiB);
            const QString largest = streams.hevc("7680x4320", "yuv420p10le", 24);
            row("HEVC of the largest size, 10 bits", largest, 800000, true, false, kMostMiB);
            row("AV1 of four times 1920x1080, 10 bits", streams.av1("3840x2160", 24), 200000, true, false, kMostMiB);
            row("AV1 of the largest size, 10 bits", streams.av1("7680x4320", 12), 400000, false, false, kMostMiB);
            const QString cover = " -f lavfi -i color=s=1920x1080:r=25:d=0.04 -map 0 -map 1 -c:v:0 copy -c:v:1 mjpeg "
                                  "-disposition:v:1 attached_pic -f mp4";
            row("HEVC of the largest size, with a cover picture",
                streams.encoded("cover", words("-i " + largest + cover)), 800000, true, false, kMostMiB);
            row("uncompressed, of the largest size", streams.uncompressed(8192, 4320, 21), 3000000000, true, false,
                kMostMiB);
        }
        HugeJpeg2000 picture;
        picture.components = 4;
        picture.levels = 0;
        picture.lowest = 0x11;
        row("JPEG 2000 in precincts of four pixels", writeFile(streams.folder(), "precincts.ts", picture.avi()), 2000,
            false, false);
        row("FFV1 in 900 slices", streams.ffv1("900", "yuv420p"), 200000, false, false);
        row("FFV1 in 120 slices, 4:4:4 with alpha and 16 bits", streams.ffv1("120", "yuva444p16le", 21), 2000000, true,
            false);
        const QByteArray places(2900000, '\1');
        const QByteArray keys = QByteArray::fromHex("0385C4807F") + places.left(2899999);
        const QString four = "-f lavfi -i color=s=64x64:d=1 -map 0 -map 0 -map 0 -map 0 -c:v mpeg4 -f nut";
        const QByteArray index = readFile(streams.encoded("four", words(four))) +
                                 QByteArray::fromHex("4E58DD672F23E64E86F58141CBE748780081B18020") + places +
                                 keys.repeated(4) + QByteArray::fromHex("0000000000DD40D100000000");
        row("NUT, an index", writeFile(streams.folder(), "index.ts", index), 15000000, true, true);
        const auto small = [&](const char *name, const QString &input, const QString &encoder) {
            row(name, streams.encoded(name, words(input + encoder)), 4000000, true, true);
        };
        const QString minute = "-f lavfi -i color=gray:s=64x64:r=25:d=60 ";
        small("H.264 with sets before each picture", minute, "-c:v libx264 -x264-params keyint=1 -f mpegts");
        small("MPEG-2 with headers before every second picture", minute, "-c:v mpeg2video -q:v 16 -g 2 -f vob");
        small("two programmes of H.264", minute, "-map 0 -map 0 -c:v libx264 -program st=0 -program st=1 -f mpegts");
        const QString x265 = "-t 9 -c:v libx265 -x265-params log-level=none:keyint=2:repeat-headers=1 -f ";
        small("two programmes of HEVC", minute, "-map 0 -map 0 -program st=0 -program st=1 " + x265 + "mpegts");
        small("HEVC in a program stream, with many sets", minute, x265 + "vob");
        small("two streams of HEVC in a program stream", minute, "-map 0 -map 0 " + x265 + "vob");
        small("Matroska with tags", minute, "-c:v mpeg4 -metadata comment=" + QString(100000, 'a') + " -f matroska");
        small("QuickTime with edits", minute, "-map 0 -map 0 -map 0 -c:v libx264 -bf 2 -metadata title=A -f mov");
        const auto withSets = [&](const char *name, const QString &raw, auto set, std::uint32_t count) {
            const QByteArray stream = readFile(raw);
            QByteArray sets;
            for (set.id = 1; set.id <= count; ++set.id)
                sets += set.write();
            const QString path = writeFile(streams.folder(), "sets", stream + (sets + stream).repeated(3));
            small(name, "-i " + path, " -c copy -bsf:v setts=ts=N*3600 -f mpegts");
        };
        withSets("H.264 with 32 sets", streams.keeping16("64x64", "yuv420p", 24), h264syntax::Pps(), 32);
        const QString hevc = streams.coloured("sets", "64x64", 24, "-c:v libx265 -x265-params log-level=none -f hevc");
        withSets("HEVC with ten sets before a picture", hevc, hevcsyntax::Pps(), 10);
        row("MPEG-2 beside a data carousel", carousel(minute), 4000000, true, true);
        const QByteArray large = readFile(streams.keeping16("3840x2160", "yuv420p", 12));
        const QByteArray usual = readFile(streams.keeping16("1920x1088", "yuv420p", 24));
        row("H.264 that becomes smaller", writeFile(streams.folder(), "smaller.ts", large + usual), 60000, true, true,
            kMostMiB);
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
            if (!kIsSanitized)
                QVERIFY(visit.mib <= mostMiB);
        }
    }

    void pictures_areGivenBack_byEachScan()
    {
        const QString path = streams.keeping16("1920x1088", "yuv444p10le", 24);
        const qint64 once = visitWith("scanner", path).mib;
        const Visit visit = visitWith("scans", path);
        qInfo("a scan takes %lld MiB, twelve %lld MiB", once, visit.mib);
        QVERIFY(once > 0 && visit.pictures >= 0);
        QVERIFY(visit.mib <= once + 16 || kIsSanitized);
    }

private:
    // One of two streams has sections in the place of pictures, with bytes like start codes (ISO/IEC 13818-6).
    QString carousel(const QString &source)
    {
        QByteArray bytes = readFile(streams.encoded("two", words(source + "-map 0 -map 0 -c:v mpeg2video -f mpegts")));
        const int pid = transportstream::pidOfStreamType(bytes, 2);
        if (!transportstream::registerFirstStream(bytes, "DATA", 0x0B))
            return {};
        const QByteArray section = QByteArray::fromHex("003CB0B5") + QByteArray::fromHex("000001").repeated(60);
        for (int at = 0; at < bytes.size(); at += transportstream::kPacketSize) {
            if (transportstream::pid(bytes, at / transportstream::kPacketSize) != pid)
                continue;
            bytes[at + 1] = char(bytes.at(at + 1) | 0x40);
            bytes[at + 3] = char((bytes.at(at + 3) & 0x0F) | 0x10);
            bytes.replace(at + 4, section.size(), section);
        }
        return writeFile(streams.folder(), "carousel.ts", bytes);
    }

    CostlyStreams streams;
};

TEST_CLASS(TestBoundedPictures, QCoreApplication)
#include "tst_boundedpictures.moc"
