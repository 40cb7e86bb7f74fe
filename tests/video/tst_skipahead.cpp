#include "tests/support/picture.h"
#include "tests/support/teststreams.h"
#include "tests/video/decodecounter.h"
#include "tests/video/everypicture.h"
#include "tests/video/skipcomparison.h"
#include "tests/video/streamset.h"
#include "video/exact/readahead.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// Room for two of a thumbnail scan's pictures and what is looked at behind them.
constexpr int kFrames = 330;
constexpr QSize kSize = {160, 128}; // What is counted and compared does not depend on it.

bool isDense()
{
    return qEnvironmentVariableIsSet("QUORVALE_EVERY_PICTURE");
}

} // namespace

/// A reader that skips ahead beside one that decodes everything: the same pictures, errors and rows, for less work.
class TestSkipAhead : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;
    QMap<QString, QString> paths;

    QString add(const QString &fileName, const QStringList &encoder, int frames = kFrames)
    {
        return paths[fileName] =
                   makeStream(folder.path(), {fileName, encoder, frames, false, false, kSize.width(), kSize.height()});
    }

    static bool open(FFVideo &video, const QString &path)
    {
        video.setSkipAhead(true);
        return video.Open(QFile::encodeName(path).constData(), true, FFVideo::FF_ACCESS_READ);
    }

    void addRows()
    {
        QTest::addColumn<QString>("name");
        for (auto path = paths.constBegin(); path != paths.constEnd(); ++path)
            QTest::newRow(path.key().toUtf8().constData()) << path.key();
    }

private slots:
    void initTestCase()
    {
        paths = makeWholeStreams(folder.path(), kFrames, kSize);
        paths.insert(makeDamagedStreams(folder.path(), paths));
        const QStringList h264{"-c:v", "libx264", "-preset", "veryfast", "-g", "24", "-bf", "3"};
        const QStringList hevc{"-c:v", "libx265", "-preset", "ultrafast", "-x265-params"};
        add("h264-pyramid.ts", h264 + QStringList{"-bf", "5", "-x264-params", "b-pyramid=normal:open-gop=1"});
        add("h264-slices.ts", h264 + QStringList{"-x264-params", "slices=4:scenecut=0"});
        add("h264-refresh.ts", h264 + QStringList{"-x264-params", "intra-refresh=1"});
        add("h264-headers-once.ts", h264 + QStringList{"-flags", "+global_header", "-x264-params", "repeat-headers=0"});
        add("h264.mp4", h264);
        add("hevc-open.ts", hevc + QStringList{"keyint=24:open-gop=1:bframes=4:b-pyramid=1:log-level=none"});
        add("hevc-closed.ts", hevc + QStringList{"keyint=24:open-gop=0:bframes=3:radl=2:log-level=none"});
        add("hevc-layers.ts", hevc + QStringList{"keyint=24:temporal-layers=1:bframes=3:log-level=none"});
        add("mjpeg.avi", {"-c:v", "mjpeg"}, 60);
        for (auto path = paths.constBegin(); path != paths.constEnd(); ++path)
            QVERIFY2(!path.value().isEmpty() && QFile(path.value()).size() > 10000, qPrintable(path.key()));
    }

    void everything_isTheSame_forThumbnails_data() { addRows(); }
    void everything_isTheSame_forThumbnails()
    {
        QFETCH(const QString, name);
        QCOMPARE(compareSkipping(paths[name], thumbnailTargets()).difference, QString());
    }

    void everything_isTheSame_forEveryTenthPicture_data() { addRows(); }
    void everything_isTheSame_forEveryTenthPicture()
    {
        QFETCH(const QString, name);
        const int offsets = isDense() ? 10 : 1;
        for (int offset = 0; offset < offsets; ++offset) {
            const SkipComparison result =
                compareSkipping(paths[name], everyNth((offset * 7 + 3) % 10, kFrames + 12, 10));
            QCOMPARE(result.difference, QString());
            QVERIFY(result.delivered > 5);
        }
    }

    void everything_isTheSame_forPicturesFarApart_data() { addRows(); }
    void everything_isTheSame_forPicturesFarApart()
    {
        QFETCH(const QString, name);
        const int step = isDense() ? 3 : 140;
        for (int first = 60; first < kFrames; first += step)
            QCOMPARE(compareSkipping(paths[name], {first, first + 1, first + 97}).difference, QString());
    }

    void everything_isTheSame_upToTheEndAndBeyond_data() { addRows(); }
    void everything_isTheSame_upToTheEndAndBeyond()
    {
        QFETCH(const QString, name);
        QCOMPARE(compareSkipping(paths[name], everyNth(kFrames - 25, kFrames + 3, isDense() ? 1 : 3)).difference,
                 QString());
        for (int target = isDense() ? kFrames - 20 : kFrames + 1; target < kFrames + 3; target += isDense() ? 1 : 3)
            QCOMPARE(compareSkipping(paths[name], {100, target, target, 5}).difference, QString());
    }

    void everything_isTheSame_backAndForth_data() { addRows(); }
    void everything_isTheSame_backAndForth()
    {
        QFETCH(const QString, name);
        QCOMPARE(compareSkipping(paths[name], {200, 100, 250, 0, 290}).difference, QString());
        if (isDense())
            QCOMPARE(compareSkipping(paths[name], {-1, 150, -1, 150, 151, 152, 20}).difference, QString());
    }

    void work_isBoundedByTheGroupsOfTheWantedPictures_data()
    {
        QTest::addColumn<QStringList>("encoder");
        QTest::addColumn<int>("group");
        QTest::addColumn<int>("proof"); // pictures that are decoded from the start, the decoder's delay included
        const QStringList h264{"-c:v", "libx264", "-preset", "ultrafast", "-bf", "2", "-sc_threshold", "0"};
        QTest::newRow("H.264, groups of 25") << h264 + QStringList{"-g", "25", "-coder", "1"} << 25 << 25 + 4;
        QTest::newRow("H.264, groups of 50") << h264 + QStringList{"-g", "50"} << 50 << 40 + 4;
        QTest::newRow("H.264, no B") << h264 + QStringList{"-g", "30", "-bf", "0"} << 30 << 30 + 4;
        QTest::newRow("MPEG-2, no B") << QStringList{"-c:v", "mpeg2video", "-g", "15", "-sc_threshold", "1000000000"}
                                      << 15 << 15 + 4;
        QTest::newRow("MPEG-2, closed") << QStringList{"-c:v", "mpeg2video",    "-g",        "15", "-bf", "2", "-flags",
                                                       "cgop", "-sc_threshold", "1000000000"}
                                        << 15 << 15 + 4;
        QTest::newRow("HEVC")
            << QStringList{"-c:v",      "libx265",      "-preset",
                           "ultrafast", "-x265-params", "keyint=25:min-keyint=25:scenecut=0:open-gop=0:log-level=none"}
            << 25 << 25 + 6;
        QTest::newRow("all I") << h264 + QStringList{"-g", "1"} << 1 << 13 + 4;
    }
    void work_isBoundedByTheGroupsOfTheWantedPictures()
    {
        QFETCH(const QStringList, encoder);
        QFETCH(const int, group);
        QFETCH(const int, proof);
        constexpr int kDelay = 6; // pictures that the decoder wants behind the one that it delivers
        const QString path = add("cost.ts", encoder, 480);
        QVERIFY(!path.isEmpty());
        const QVector<int> targets = {150, 267, 411};
        const SkipComparison result = compareSkipping(path, targets);
        QCOMPARE(result.difference, QString());
        int bound = proof;
        for (const int target : targets)
            bound += target % group + 1 + kDelay;
        QVERIFY2(result.counters.picturesDecoded <= bound,
                 qPrintable(QStringLiteral("%1 pictures, %2 allowed").arg(result.counters.picturesDecoded).arg(bound)));
        QCOMPARE(result.counters.flushes, 3);
        QCOMPARE(result.counters.fullFallbacks, 0);
        QVERIFY(result.counters.picturesSkipped >= 411 - bound);

        // The decoder itself begins as many pictures as the counters say.
        FFVideo video;
        QVERIFY(open(video, path));
        DecodeCounter decoder(video);
        const std::int64_t before = video.skipAheadCounters().picturesDecoded;
        for (const int target : targets) {
            Picture picture;
            QVERIFY(video.Read(target, picture));
        }
        QCOMPARE(std::int64_t{decoder.take()}, video.skipAheadCounters().picturesDecoded - before);
        paths.remove("cost.ts");
    }

    void picturesThatNoOtherOneRefersTo_areNotDecodedOnTheWay()
    {
        // Two of three pictures are B: of the group of the target, one picture in three is needed.
        const QString path =
            add("b.ts", {"-c:v", "mpeg2video", "-g", "60", "-bf", "2", "-sc_threshold", "1000000000"}, 330);
        const SkipComparison result = compareSkipping(path, {290, 291});
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.counters.flushes, 1);
        QCOMPARE(result.counters.fullFallbacks, 0);
        QVERIFY2(result.counters.picturesDecoded <= 40 + 4 + 50 / 3 + 6,
                 qPrintable(QString::number(result.counters.picturesDecoded)));
        paths.remove("b.ts");
    }

    void nothingIsSkipped_withoutTheSetter()
    {
        FFVideo video;
        QVERIFY(video.Open(QFile::encodeName(paths["h264.ts"]).constData(), true, FFVideo::FF_ACCESS_READ));
        DecodeCounter decoder(video);
        QVERIFY(video.seekToFrame(290));
        QCOMPARE(decoder.take(), 290);
        QCOMPARE(video.skipAheadCounters().packetsSent, 0);
        QCOMPARE(video.skipAheadCounters().flushes, 0);
    }

    void theSetter_isForFilesOpenedFromThenOn()
    {
        FFVideo video;
        const QByteArray path = QFile::encodeName(paths["h264.ts"]);
        QVERIFY(video.Open(path.constData(), true, FFVideo::FF_ACCESS_READ));
        video.setSkipAhead(true);
        QVERIFY(video.seekToFrame(290));
        QCOMPARE(video.skipAheadCounters().flushes, 0);
        QVERIFY(video.Close());
        QVERIFY(video.Open(path.constData(), true, FFVideo::FF_ACCESS_READ));
        QVERIFY(video.seekToFrame(290));
        QCOMPARE(video.skipAheadCounters().flushes, 1);
        video.setSkipAhead(false);
        QVERIFY(video.Open(path.constData(), true, FFVideo::FF_ACCESS_READ));
        QVERIFY(video.seekToFrame(290));
        QCOMPARE(video.skipAheadCounters().flushes, 0);
    }

    void aPictureBeyondTheBound_isDecodedToAndThenSkippedTo()
    {
        // More pictures lie ahead than the queue may hold.
        const QString path = add("long.ts", {"-c:v", "mpeg2video", "-g", "12", "-q:v", "6"}, 1500);
        const int target = int(ReadAhead::kMostPackets) + 800;
        const SkipComparison result = compareSkipping(path, {target});
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.delivered, 1);
        QCOMPARE(result.counters.flushes, 1);
        QVERIFY(result.counters.picturesDecoded > 800);
        QVERIFY(result.counters.picturesDecoded < target - 300);
        paths.remove("long.ts");
    }

    void stepping_isTheSame_behindASkip()
    {
        for (const char *name : {"h264-b-open.ts", "mpeg2-b.ts", "hevc-open.ts"}) {
            FFVideo plain;
            FFVideo video;
            QVERIFY(plain.Open(QFile::encodeName(paths[name]).constData(), true, FFVideo::FF_ACCESS_READ));
            QVERIFY(open(video, paths[name]));
            QVERIFY(plain.seekToFrame(200));
            QVERIFY(video.seekToFrame(200));
            QCOMPARE(video.skipAheadCounters().flushes, 1);
            while (!plain.endOfStream) {
                QVERIFY(plain.stepForward());
                QVERIFY(video.stepForward());
                QCOMPARE(video.currentFrame, plain.currentFrame);
                QCOMPARE(video.lastDts, plain.lastDts);
                QCOMPARE(video.previousDts, plain.previousDts);
                QCOMPARE(video.seekDts, plain.seekDts);
                QCOMPARE(checksum(*video.frame), checksum(*plain.frame));
            }
            QVERIFY(video.endOfStream);
            QCOMPARE(video.frameCount, plain.frameCount);
        }
    }

    void theTable_isCompletedBehindASkip()
    {
        for (const char *name : {"h264-b-open.ts", "mpeg2-b.ts", "hevc-open.ts"}) {
            FFVideo plain;
            QVERIFY(plain.Open(QFile::encodeName(paths[name]).constData(), false, FFVideo::FF_ACCESS_READ));
            FFVideo video;
            QVERIFY(open(video, paths[name]));
            QVERIFY(video.seekToFrame(200));
            QVERIFY(!video.keyFrames.complete);
            QVERIFY(!video.GetFramesUntilComplete(10));
            QVERIFY(video.GetFramesUntilComplete(1000));
            QCOMPARE(video.frameCount, plain.frameCount);
            QCOMPARE(video.keyFrames.count, plain.keyFrames.count);
            const QString saved = folder.filePath("skipped.kft");
            const QString expected = folder.filePath("plain.kft");
            QVERIFY(video.SaveKeyTable(QFile::encodeName(saved).constData(), true));
            QVERIFY(plain.SaveKeyTable(QFile::encodeName(expected).constData(), true));
            QCOMPARE(readFile(saved), readFile(expected));
        }
    }

    void sound_isTheSame_behindASkip()
    {
        const auto soundOf = [&](bool skips) {
            FFVideo video;
            video.setSkipAhead(skips);
            QByteArray sound;
            if (!video.Open(QFile::encodeName(paths["h264.ts"]).constData(), true, FFVideo::FF_ACCESS_READ) ||
                !video.seekToFrame(200) || !video.SetAudioRange(50, 99))
                return sound;
            int status = FFVideo::FF_AUDIO_MORE;
            while (status == FFVideo::FF_AUDIO_MORE || status == FFVideo::FF_AUDIO_SKIPPED) {
                unsigned char *buffer = nullptr;
                int bytes = 0;
                int samples = 0;
                status = video.ReadAudioFrame(buffer, bytes, samples);
                sound.append(reinterpret_cast<const char *>(buffer), bytes);
                delete[] buffer;
            }
            return sound;
        };
        QVERIFY(soundOf(false).size() > 100000);
        QCOMPARE(soundOf(true), soundOf(false));
    }

    void aTableThatWasLoaded_isUsedAsEver()
    {
        FFVideo indexed;
        const QByteArray path = QFile::encodeName(paths["h264.ts"]);
        QVERIFY(indexed.Open(path.constData(), false, FFVideo::FF_ACCESS_READ));
        FFVideo video;
        video.setSkipAhead(true);
        QVERIFY(video.SetKeyTable(&indexed.keyFrames));
        QVERIFY(video.Open(path.constData(), true, FFVideo::FF_ACCESS_READ));
        QVERIFY(video.seekToFrame(290));
        QCOMPARE(video.skipAheadCounters().packetsSent, 0);
        QCOMPARE(checksum(*video.frame),
                 [&] { return indexed.seekToFrame(290) ? checksum(*indexed.frame) : QByteArray(); }());
    }

    void otherCodecsAndContainers_areReadAsEver()
    {
        for (const char *name : {"mjpeg.avi", "h264.mp4", "h264-refresh.ts", "hevc-raw.265"}) {
            const SkipComparison result = compareSkipping(paths[name], {40, 50, 220});
            QCOMPARE(result.difference, QString());
            QCOMPARE(result.counters.flushes, 0);
            QCOMPARE(result.counters.fullFallbacks, 0);
        }
    }
};

QTEST_GUILESS_MAIN(TestSkipAhead)
#include "tst_skipahead.moc"
