#include "tests/support/teststreams.h"
#include "tests/video/packetscannercases.h"
#include "tests/video/videopackets.h"

#include <QtTest>

namespace {

ScannedCodec h264()
{
    const QStringList encoder{"-c:v", "libx264", "-preset", "veryfast", "-g", "24", "-bf", "3"};
    ScannedStream open{"h264-open.ts", encoder + QStringList{"-x264-params", "open-gop=1:b-pyramid=normal"}};
    open.fewestUnreferred = 20; // some of the B pictures
    open.mostUnreferred = 60;
    ScannedStream refresh{"h264-refresh.ts", encoder + QStringList{"-x264-params", "intra-refresh=1"}};
    // Only the first picture is whole in itself; the rest is refreshed bit by bit.
    refresh.closedKeys = {0};
    ScannedStream intra{"h264-intra.ts", encoder + QStringList{"-g", "1"}};
    intra.fewestUnreferred = intra.mostUnreferred = 0;
    ScannedCodec codec;
    codec.name = "h264";
    codec.streams = {{"h264.ts", encoder + QStringList{"-x264-params", "slices=4"}},
                     open,
                     {"h264-interlaced.ts", encoder + QStringList{"-x264-params", "tff=1"}, true},
                     refresh,
                     intra};
    codec.endOfSequence = QByteArray("\0\0\1\x0A\x80", 5);
    codec.parameterSets = {{"sequence", 7}, {"picture", 8}};
    codec.doubtWithoutDisplayTime = kNoDisplayTime;
    return codec;
}

} // namespace

class TestPacketScannerH264 : public PacketScannerCases
{
    Q_OBJECT

public:
    TestPacketScannerH264()
        : PacketScannerCases(h264())
    {
    }

private slots:
    void aLastSliceOfAnotherPicture_isDoubted()
    {
        // The frame number or the order tells.
        const QByteArray other = unitsOf(*readVideoPackets(pathOf(sliced)).packets[6]).back();
        const PacketFacts facts = tampered(sliced, 5, [&](Units &units) { units.back() = other; });
        QVERIFY(facts.doubts & kNotOnePicture);
    }

    void dataPartitions_areDoubted()
    {
        const PacketFacts facts = tampered(sliced, 5, [](Units &units) { units.back()[3] = char(0x42); });
        QVERIFY(facts.doubts & kNotOnePicture);
    }

    void keysThatPromiseLess_areNotClosed_data()
    {
        QTest::addColumn<int>("bit"); // of the recovery point, the highest first
        QTest::newRow("the pictures are right later") << 0;
        QTest::newRow("about right") << 1;
        QTest::newRow("a broken link") << 2;
    }
    void keysThatPromiseLess_areNotClosed()
    {
        QFETCH(const int, bit);
        const QString open = "h264-open.ts";
        const auto isRecovery = [](const QByteArray &unit) { return unit.mid(3, 2) == QByteArray("\6\6", 2); };
        const auto facts = [&](int flipped) {
            return tampered(open, secondKey(open), [&](Units &units) {
                const auto unit = std::find_if(units.begin(), units.end(), isRecovery);
                QVERIFY(unit != units.end());
                (*unit)[6] = char((*unit)[6] ^ flipped);
            });
        };
        QVERIFY(facts(0).closedKey);
        const PacketFacts changed = facts(0x80 >> bit);
        QVERIFY(!changed.closedKey);
        // All its slices are I, so it enters the table in any case.
        QVERIFY(changed.tableRow);
        QCOMPARE(changed.doubts, 0U);
    }

    void packetsWithLengthsInsteadOfStartCodes_areDoubted()
    {
        const QString path =
            makeWithFFmpeg(folder.path(), "h264.mp4", {"-i", pathOf(sliced), "-c", "copy", "-f", "mp4"});
        const VideoPackets video = readVideoPackets(path);
        QCOMPARE(int(video.packets.size()), kFrames);
        for (const quorvale::ffmpeg::PacketPtr &packet : video.packets)
            QVERIFY(video.scanner->scan(*packet).doubts & kNotOnePicture);
    }
};

QTEST_GUILESS_MAIN(TestPacketScannerH264)
#include "tst_packetscanner_h264.moc"
