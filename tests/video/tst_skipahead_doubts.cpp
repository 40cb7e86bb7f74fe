#include "tests/support/picture.h"
#include "tests/support/teststreams.h"
#include "tests/support/transportstream.h"
#include "tests/video/decodecounter.h"
#include "tests/video/skipcomparison.h"
#include "video/ffvideo.h"

#include <QTemporaryDir>
#include <QtTest>

namespace {

constexpr int kFrames = 400;
constexpr int kGroup = 20;

} // namespace

/// What is not as it should be in a recording has it decoded in order, or read again from its start: the pictures are
/// the same, and the counters tell which way they came.
class TestSkipAheadDoubts : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;
    QString h264;
    QString mpeg2;
    QString hevc;

    QString make(const QString &fileName, const QStringList &encoder, const QSize &size = {176, 144})
    {
        return makeStream(folder.path(), {fileName, encoder, kFrames, false, false, size.width(), size.height()});
    }

    static QStringList h264Encoder()
    {
        return {
            "-c:v",          "libx264", "-preset", "veryfast", "-g",           QString::number(kGroup),
            "-sc_threshold", "0",       "-bf",     "2",        "-x264-params", "keyint=20:min-keyint=20:scenecut=0"};
    }

    QString changed(const QString &path, const std::function<void(QByteArray &)> &change)
    {
        QByteArray bytes = readFile(path);
        change(bytes);
        return writeFile(folder.path(), "changed.ts", bytes);
    }

    // Transport packet number `which` of the video's, counted from the packet that lies at `share` of the file.
    static int videoPacket(const QByteArray &bytes, int type, double share, int which = 0)
    {
        const int video = transportstream::pidOfStreamType(bytes, type);
        int packet = int(double(bytes.size()) * share) / transportstream::kPacketSize;
        while (transportstream::pid(bytes, packet) != video || which-- > 0)
            ++packet;
        return packet;
    }

private slots:
    void initTestCase()
    {
        h264 = make("h264.ts", h264Encoder());
        mpeg2 = make("mpeg2.ts", {"-c:v", "mpeg2video", "-q:v", "4", "-g", "20", "-bf", "2"}, {320, 240});
        hevc = make("hevc.ts", {"-c:v", "libx265", "-preset", "ultrafast", "-x265-params",
                                "keyint=20:min-keyint=20:scenecut=0:open-gop=0:log-level=none"});
        QVERIFY(!h264.isEmpty() && !mpeg2.isEmpty() && !hevc.isEmpty());
        for (const QString &path : {h264, mpeg2, hevc}) {
            const SkipComparison whole = compareSkipping(path, {100, 300});
            QCOMPARE(whole.difference, QString());
            QCOMPARE(whole.counters.flushes, 2);
            QCOMPARE(whole.counters.fullFallbacks, 0);
            QVERIFY(whole.counters.picturesDecoded < 100);
        }
    }

    void lostPackets_areDecodedThroughInOrder_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("type");
        QTest::newRow("MPEG-2") << mpeg2 << 2;
        QTest::newRow("H.264") << h264 << 27;
        QTest::newRow("HEVC") << hevc << 36;
    }
    void lostPackets_areDecodedThroughInOrder()
    {
        QFETCH(const QString, path);
        QFETCH(const int, type);
        const QString lossy = changed(path, [&](QByteArray &bytes) {
            const int lost = videoPacket(bytes, type, 0.45, 2);
            transportstream::dropPackets(bytes, [&](int packet, int) { return packet == lost; });
        });
        const SkipComparison result = compareSkipping(lossy, {100, 300, 380});
        QCOMPARE(result.difference, QString());
        // Up to the loss and through it everything is decoded; behind it, after a new proof, pictures are skipped
        // again.
        QVERIFY(result.counters.picturesDecoded > 120);
        QVERIFY(result.counters.picturesDecoded < 350);
        QVERIFY(result.counters.flushes >= 2);
        QCOMPARE(result.counters.fullFallbacks, 0);
    }

    void aPictureAmongDamagedOnes_isDecodedFromTheStart()
    {
        const QString lossy = changed(h264, [&](QByteArray &bytes) {
            const int lost = videoPacket(bytes, 27, 0.755, 2);
            transportstream::dropPackets(bytes, [&](int packet, int) { return packet == lost; });
        });
        // The decoder was restarted on the way to 100; what it makes of a damaged picture now is its own affair.
        int fallbacks = 0;
        for (int target = 250; target < 350; target += 10) {
            const SkipComparison result = compareSkipping(lossy, {100, target});
            QCOMPARE(result.difference, QString());
            fallbacks += int(result.counters.fullFallbacks);
        }
        QVERIFY(fallbacks >= 1);
        QVERIFY(fallbacks <= 4);
    }

    void aRepeatedStretch_isDecodedThroughInOrder()
    {
        for (const QString &path : {h264, mpeg2, hevc}) {
            const QString repeated = changed(path, [&](QByteArray &bytes) {
                const int from = int(bytes.size()) / 2 / transportstream::kPacketSize * transportstream::kPacketSize;
                bytes.insert(from,
                             bytes.mid(from - 300 * transportstream::kPacketSize, 300 * transportstream::kPacketSize));
            });
            const SkipComparison result = compareSkipping(repeated, {100, 300, 370});
            QCOMPARE(result.difference, QString());
            QVERIFY(result.counters.picturesDecoded > 110);
        }
    }

    void aGapInTime_isDecodedThroughInOrder()
    {
        // The same recording twice, the second time some seconds later than it would go on.
        QStringList later = h264Encoder();
        later << "-output_ts_offset"
              << "25";
        const QByteArray second = readFile(make("later.ts", later));
        const QString both = changed(h264, [&](QByteArray &bytes) { bytes += second; });
        const SkipComparison result = compareSkipping(both, {300, 500});
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.delivered, 2);
        QVERIFY(result.counters.picturesDecoded > 140); // from 300 through the gap
    }

    void otherParameters_areDecodedThroughInOrder()
    {
        QStringList other = h264Encoder();
        other << "-refs"
              << "5"
              << "-output_ts_offset"
              << "16"; // where the first one ends
        const QByteArray second = readFile(make("other.ts", other));
        const QString both = changed(h264, [&](QByteArray &bytes) { bytes += second; });
        const SkipComparison result = compareSkipping(both, {300, 500, 700});
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.delivered, 3);
        QVERIFY(result.counters.picturesDecoded > 140);
        QVERIFY(result.counters.picturesDecoded < 400);
    }

    void anotherSize_isDecodedThroughInOrder()
    {
        const QByteArray second =
            readFile(make("size.ts", h264Encoder() + QStringList{"-output_ts_offset", "16"}, {320, 240}));
        const QString both = changed(h264, [&](QByteArray &bytes) { bytes += second; });
        const SkipComparison result = compareSkipping(both, {300, 500, 700});
        QCOMPARE(result.difference, QString());
        QVERIFY(result.counters.picturesDecoded > 140);
    }

    void damageThatNoPacketShows_hasTheFileReadAgain_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("type");
        QTest::newRow("H.264") << h264 << 27;
        QTest::newRow("HEVC") << hevc << 36;
    }
    void damageThatNoPacketShows_hasTheFileReadAgain()
    {
        QFETCH(const QString, path);
        QFETCH(const int, type);
        int fallbacks = 0;
        for (int place = 0; place < 8; ++place) {
            const QString damaged = changed(path, [&](QByteArray &bytes) {
                const int packet = videoPacket(bytes, type, 0.74 + 0.003 * place, 2);
                for (int i = 20; i < 180; ++i)
                    bytes[packet * transportstream::kPacketSize + i] = char(i * 37 % 251 + 4);
            });
            const SkipComparison result = compareSkipping(damaged, {100, 302, 303, 310, 380});
            QCOMPARE(result.difference, QString());
            fallbacks += int(result.counters.fullFallbacks);
        }
        QVERIFY(fallbacks >= 1);
    }

    void theTable_isCompleted_whereTheFileIsReadAgainOnTheWay()
    {
        const QString damaged = changed(h264, [&](QByteArray &bytes) {
            const int packet = videoPacket(bytes, 27, 0.4, 2);
            for (int i = 20; i < 180; ++i)
                bytes[packet * transportstream::kPacketSize + i] = char(i * 37 % 251 + 4);
        });
        FFVideo plain;
        QVERIFY(plain.Open(QFile::encodeName(damaged).constData(), false, FFVideo::FF_ACCESS_READ));
        FFVideo video;
        video.setSkipAhead(true);
        QVERIFY(video.Open(QFile::encodeName(damaged).constData(), true, FFVideo::FF_ACCESS_READ));
        QVERIFY(video.seekToFrame(5 * kGroup)); // a key picture: completing goes on from it
        QCOMPARE(video.skipAheadCounters().flushes, 1);
        video.completeSeekTable();
        QCOMPARE(video.skipAheadCounters().fullFallbacks, 1);
        QVERIFY(video.keyFrames.complete);
        QCOMPARE(video.frameCount, plain.frameCount);
        QCOMPARE(video.keyFrames.count, plain.keyFrames.count);
        for (int row = 0; row < plain.keyFrames.count; ++row) {
            QCOMPARE(video.keyFrames.entries[row].frame, plain.keyFrames.entries[row].frame);
            QCOMPARE(video.keyFrames.entries[row].seekDts, plain.keyFrames.entries[row].seekDts);
            QCOMPARE(video.keyFrames.entries[row].frameDts, plain.keyFrames.entries[row].frameDts);
        }
    }

    void muchDamageThatNoPacketShows_costsTwiceThePlainWayAtMost()
    {
        // In the data of pictures of every group with a wanted one; their headers still count.
        const QVector<int> targets = {79, 139, 199, 259, 319, 379};
        const QString damaged = changed(h264, [&](QByteArray &bytes) {
            const int video = transportstream::pidOfStreamType(bytes, 27);
            int picture = -1;
            for (int at = 0; at < bytes.size(); at += transportstream::kPacketSize) {
                const bool begins = (bytes[at + 1] & 0x40) != 0;
                if (transportstream::pid(bytes, at / transportstream::kPacketSize) != video || !begins)
                    continue;
                ++picture;
                const int group = picture / kGroup * kGroup;
                if (group > 0 && targets.contains(group + kGroup - 1) && picture > group && picture < group + 9) {
                    for (int i = 100; i < 108; ++i)
                        bytes[at + i] = char(bytes[at + i] ^ 0x5A);
                }
            }
        });
        const SkipComparison result = compareSkipping(damaged, targets);
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.delivered, int(targets.size()));
        QVERIFY(result.counters.fullFallbacks >= 1);
        QVERIFY2(result.counters.picturesDecoded <= 2 * targets.last() + kGroup,
                 qPrintable(QString::number(result.counters.picturesDecoded)));
    }

    void damageInFrontOfThePicture_isNoConcern()
    {
        // In a group that is not decoded, and in the data of a picture: its header still counts.
        const QString damaged = changed(hevc, [&](QByteArray &bytes) {
            const int packet = videoPacket(bytes, 36, 0.5, 2);
            const int at = packet * transportstream::kPacketSize + 100;
            bytes[at] = char(bytes[at] ^ 0x5A);
        });
        const SkipComparison result = compareSkipping(damaged, {100, 300});
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.counters.fullFallbacks, 0);
    }

    void theEnd_isDecodedInOrder_fromTheLastPictureThatIsCertain()
    {
        for (const QString &path : {h264, mpeg2, hevc}) {
            const SkipComparison near = compareSkipping(path, {100, kFrames - 10});
            QCOMPARE(near.difference, QString());
            QCOMPARE(near.delivered, 2);
            QCOMPARE(near.counters.flushes, 2);
            QCOMPARE(near.counters.fullFallbacks, 0);
            // The proof and two groups, and what lies behind the last picture of which 32 others tell that it comes.
            QVERIFY2(near.counters.picturesDecoded <= kGroup + 4 + 2 * (kGroup + 6) + 34,
                     qPrintable(QString::number(near.counters.picturesDecoded)));
        }
    }

    void aMissingPicture_isMissedAtOnce_inASoundRecording()
    {
        for (const QString &path : {h264, mpeg2, hevc}) {
            FFVideo video;
            video.setSkipAhead(true);
            QVERIFY(video.Open(QFile::encodeName(path).constData(), true, FFVideo::FF_ACCESS_READ));
            QVERIFY(video.seekToFrame(310));
            const SkipAheadCounters before = video.skipAheadCounters();
            DecodeCounter decoder(video);
            Picture picture;
            QVERIFY(!video.Read(kFrames + 50, picture));
            QCOMPARE(video.lastError, 1);
            const SkipAheadCounters after = video.skipAheadCounters();
            // To the end, once.
            QCOMPARE(std::int64_t{decoder.take()}, after.picturesDecoded - before.picturesDecoded);
            QVERIFY(after.picturesDecoded - before.picturesDecoded <= kGroup + 6 + 34);
            QCOMPARE(after.picturesDecoded + after.picturesSkipped, std::int64_t{kFrames});
            QVERIFY(!video.Read(kFrames + 50, picture));
            QCOMPARE(video.lastError, 30);
            QCOMPARE(decoder.take(), 0);

            for (const QVector<int> &targets :
                 {QVector<int>{310, kFrames + 50, 200, 315}, {kFrames + 1}, {100, kFrames}})
                QCOMPARE(compareSkipping(path, targets).difference, QString());
        }
    }

    void aMissingPicture_isLookedForAgain_inADamagedRecording()
    {
        // Where times come twice a seek can land in the wrong place, and more pictures come from there than are
        // missing.
        const QString repeated = changed(mpeg2, [&](QByteArray &bytes) {
            const int from = int(bytes.size()) / 2 / transportstream::kPacketSize * transportstream::kPacketSize;
            const QByteArray stretch = bytes.mid(from, 200 * transportstream::kPacketSize);
            for (int i = 0; i < 4; ++i)
                bytes.insert(from, stretch);
        });
        FFVideo video;
        QVERIFY(video.Open(QFile::encodeName(repeated).constData(), false, FFVideo::FF_ACCESS_READ));
        const int pictures = video.frameCount;
        int delivered = 0;
        for (const int missing : {1, 2, 5, 100}) {
            const SkipComparison result = compareSkipping(repeated, {150, pictures + missing, 20});
            QCOMPARE(result.difference, QString());
            delivered += result.delivered;
        }
        QVERIFY(delivered > 2 * 4);
    }

    void aFileThatIsGone_endsWhereItWasRead()
    {
        // Reading again from the start is not possible any more.
        const QString damaged = changed(h264, [&](QByteArray &bytes) {
            const int lost = videoPacket(bytes, 27, 0.755, 2);
            transportstream::dropPackets(bytes, [&](int packet, int) { return packet == lost; });
        });
        int refused = 0;
        for (int target = 296; target < 320; target += 2) {
            const QString copy = writeFile(folder.path(), "gone.ts", readFile(damaged));
            FFVideo video;
            video.setSkipAhead(true);
            QVERIFY(video.Open(QFile::encodeName(copy).constData(), true, FFVideo::FF_ACCESS_READ));
            // From a key picture on, and from one between two of them.
            QVERIFY(video.seekToFrame(target % 4 == 0 ? 100 : 101));
            QVERIFY(QFile::remove(copy));
            BridgeImage image;
            if (video.Read(target, image)) {
                for (const std::uint8_t *plane : image.data)
                    delete[] plane;
                continue;
            }
            ++refused;
            QCOMPARE(video.lastError, 1);
            QVERIFY(video.endOfStream);
            QVERIFY(!video.keyFrames.complete);
            QVERIFY(!video.seekToFrame(5));
            QVERIFY(video.stepForward());
            QVERIFY(!video.SetAudioRange(0, 5));
            QVERIFY(video.Close());
        }
        QVERIFY(refused >= 1);
    }
};

QTEST_GUILESS_MAIN(TestSkipAheadDoubts)
#include "tst_skipahead_doubts.moc"
