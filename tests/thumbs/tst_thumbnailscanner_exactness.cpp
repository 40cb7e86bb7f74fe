#include "tests/support/openvideo.h"
#include "tests/support/picture.h"
#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "tests/support/transportstream.h"
#include "tests/thumbs/scanrun.h"
#include "thumbs/pictureconversion.h"
#include "thumbs/thumbnailsize.h"
#include "tools/sampledisk/sampledisk.h"
#include "video/ffvideo.h"

#include <map>
#include <sstream>

namespace {

// Reads a file with an FFVideo alone, and each picture once.
struct LiteralReader
{
    explicit LiteralReader(const QString &path) { isOpen = open(video, path); }
    QImage read(int frame)
    {
        Picture picture;
        if (!known.contains(frame))
            known[frame] = video.Read(frame, picture) ? quorvale::rgbPicture(picture) : QImage();
        return known[frame];
    }
    int pictureCount()
    {
        while (isOpen && !video.keyFrames.complete)
            video.stepForward();
        return video.frameCount;
    }

    FFVideo video;
    bool isOpen = false;
    QMap<int, QImage> known;
};
using LiteralReaders = std::map<QString, LiteralReader>; // by path

// What a scanner would say that has only an FFVideo.
ScanResult literalScan(LiteralReaders &readers, const QStringList &files, int firstFrame, int frameStep)
{
    ScanResult said;
    CapturedOutput capture(stderr);
    for (const QString &file : files) {
        LiteralReader &reader = readers.try_emplace(file, file).first->second;
        said.events << (reader.isOpen ? "gotThumbs " : "missingVideo ") + file;
        if (!reader.isOpen)
            continue;
        ScannedSeries series{file, {}, {}, true};
        for (int frame = firstFrame; frame < 900; frame += frameStep) {
            const QImage image = reader.read(frame);
            if (image.isNull()) {
                std::fputs(kUnreadable, stderr);
                break;
            }
            const QSize display(reader.video.width, reader.video.height);
            for (const auto &[rows, images] : {std::pair(120, &series.small), std::pair(240, &series.large)}) {
                const auto size = quorvale::thumbnailSize(display, image.size(), rows);
                images->push_back(QPixmap::fromImage(quorvale::scaledTo(size, image)).toImage());
            }
        }
        said.series.push_back(std::move(series));
    }
    said.events << QStringLiteral("finished");
    said.errors = capture.text();
    return said;
}

const char *const kCaptures[] = {
    "mpeg2-704x576i-16x11-subs.ts",     "h264-576i-16x11-eac3.ts", "h264-576i-12x11-bars.ts", "h264-1080i-ac3.ts",
    "h264-234p-61s-truncated.ts",       "hevc-main10-360p-12s.ts", "bd-1080i-5s.m2ts",        "akiyo-x265.265",
    "h264-1080i5994-dirtystart-mp2.ts",
};

} // namespace

/// The scanner emits, and writes to stderr, the same as a scanner that decodes everything.
class TestThumbnailScannerExactness : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;
    QMap<QString, QString> paths;
    QMap<QString, int> counts; ///< of pictures
    LiteralReaders readers;

    void compare(const QStringList &files, int firstFrame, int frameStep, std::size_t opened = 1)
    {
        const ScanResult expected = literalScan(readers, files, firstFrame, frameStep);
        const ScanResult found = runScan(files, firstFrame, frameStep);
        QCOMPARE(found.events, expected.events);
        QCOMPARE(found.series.size(), opened);
        for (std::size_t i = 0; i < opened; ++i) {
            QVERIFY2(found.series[i].small == expected.series[i].small, qPrintable(found.series[i].file));
            QVERIFY2(found.series[i].large == expected.series[i].large, qPrintable(found.series[i].file));
        }
        QCOMPARE(found.errors, expected.errors);
    }

private slots:
    void cleanup() { readers.clear(); }

    void initTestCase()
    {
        const auto add = [&](const QString &name, const QStringList &encoder) {
            paths[name] = makeStream(folder.path(), {name, encoder, 330, {160, 128}});
            QVERIFY(!paths[name].isEmpty());
        };
        add("mpeg2.ts", {"-c:v", "mpeg2video", "-q:v", "4", "-g", "12", "-bf", "2"});
        add("h264.ts", {"-c:v", "libx264", "-preset", "veryfast", "-g", "24", "-bf", "3"});
        add("h264-open.ts", {"-c:v", "libx264", "-preset", "veryfast", "-g", "24", "-x264-params", "open-gop=1"});
        add("hevc.ts", {"-c:v", "libx265", "-preset", "ultrafast", "-x265-params", "keyint=24:log-level=none"});
        const auto change = [&](const QString &from, const QString &to, auto operation) {
            QByteArray bytes = readFile(paths[from]);
            operation(bytes);
            paths[to] = writeFile(folder.path(), to, bytes);
        };
        for (const char *name : {"mpeg2.ts", "h264.ts", "hevc.ts"}) {
            change(name, QStringLiteral("lossy-") + name, [](QByteArray &bytes) {
                transportstream::dropPackets(bytes, [&](int packet, int) { return packet % 211 == 130; });
            });
            change(name, QStringLiteral("repeating-") + name, [](QByteArray &bytes) {
                const int from = int(bytes.size()) / 2 / transportstream::kPacketSize * transportstream::kPacketSize;
                bytes.insert(from,
                             bytes.mid(from - 200 * transportstream::kPacketSize, 200 * transportstream::kPacketSize));
            });
            change(name, QStringLiteral("cut-") + name,
                   [](QByteArray &bytes) { bytes.truncate(bytes.size() / 2 + 77); });
        }
        for (const char *name : kCaptures) {
            if (const auto path = samplePath(name))
                paths[name] = *path;
        }
    }

    void thumbnails_areTheSame_data()
    {
        QTest::addColumn<QString>("name");
        for (auto path = paths.constBegin(); path != paths.constEnd(); ++path)
            QTest::newRow(path.key().toUtf8().constData()) << path.key();
    }
    void thumbnails_areTheSame()
    {
        QFETCH(const QString, name);
        compare({paths[name]}, 150, 150);
        counts[name] = readers.at(paths[name]).pictureCount();
    }

    void thumbnailsOfTheSampleDisk_areTheSame()
    {
        constexpr int kKinds = 9; // Further recordings are like the first ones.
        std::ostringstream progress;
        quorvale::makeSampleDisk({kKinds, 320, folder.path().toStdString(), false}, progress); // Two thumbnails each.
        QStringList files;
        for (int number = 1; number <= kKinds; ++number)
            files << folder.filePath(QStringLiteral("RECORDER/DVR/RECS/REC_%1.ts").arg(number, 4, 10, QChar('0')));
        compare(files, 150, 150, kKinds - 2); // One is radio, and one is missing.
    }

    void thePictureJustPastTheLastOne_isTheSame_data() { thumbnails_areTheSame_data(); }
    void thePictureJustPastTheLastOne_isTheSame()
    {
        QFETCH(const QString, name);
        if (!counts.contains(name)) // The function before was not called.
            counts[name] = LiteralReader(paths[name]).pictureCount();
        const int count = counts[name];
        // From an earlier picture, and at once; then one further on. How a reader got there matters.
        for (const auto &[first, step] :
             {std::pair(count - 80, 40), {count, 150}, {count - 60, 61}, {count + 1, 150}}) {
            readers.clear();
            compare({paths[name]}, first, step);
        }
    }

    void picturesInOtherOrders_areTheSame()
    {
        for (const char *name : {"mpeg2.ts", "lossy-h264.ts"}) {
            compare({paths[name]}, 290, 1);
            readers.clear();
            compare({paths[name]}, 0, 299);
        }
    }
};

TEST_CLASS(TestThumbnailScannerExactness, QApplication)
#include "tst_thumbnailscanner_exactness.moc"
