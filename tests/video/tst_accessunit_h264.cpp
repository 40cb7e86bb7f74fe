#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "tests/video/accessunitcases.h"

using namespace quorvale;

namespace {

UnitCoding h264Streams()
{
    const QStringList encoder{"-c:v", "libx264", "-preset", "veryfast", "-g", "24", "-bf", "3"};
    UnitStream open{"h264-open.ts", encoder + QStringList{"-x264-params", "open-gop=1:b-pyramid=normal"}};
    open.fewestUnreferred = 20; // some of the B pictures
    open.mostUnreferred = 60;
    UnitStream refresh{"h264-refresh.ts", encoder + QStringList{"-x264-params", "intra-refresh=1"}};
    // Only the first picture is whole in itself; the rest is refreshed bit by bit.
    refresh.randomAccessPoints = {0};
    UnitStream intra{"h264-intra.ts", encoder + QStringList{"-g", "1"}};
    intra.fewestUnreferred = intra.mostUnreferred = 0;
    UnitCoding coding;
    coding.coding = VideoCoding::H264;
    coding.name = "h264";
    coding.streams = {{"h264.ts", encoder + QStringList{"-x264-params", "slices=4"}},
                      open,
                      {"h264-interlaced.ts", encoder + QStringList{"-x264-params", "tff=1"}, true},
                      refresh,
                      intra};
    coding.endOfSequence = QByteArray("\0\0\1\x0A\x80", 5);
    coding.filmGrain = QByteArray("\0\0\1\6\x13\1\x80\x80", 8);
    coding.parameterSets = {{"SPS", 7}, {"PPS", 8}};
    return coding;
}

} // namespace

class TestAccessUnitH264 : public AccessUnitCases
{
    Q_OBJECT

public:
    TestAccessUnitH264()
        : AccessUnitCases(h264Streams())
    {
    }

private slots:
    void aLastSliceOfAnotherPicture_isNotOnePicture()
    {
        // frame_num or pic_order_cnt_lsb tells.
        const QByteArray other = nalUnitsOf(*readVideoPackets(pathOf(sliced)).packets[6]).back();
        QVERIFY(!tampered(sliced, 5, [&](NalUnits &units) { units.back() = other; }).onePicture);
    }

    void dataPartitions_areNotOnePicture()
    {
        QVERIFY(!tampered(sliced, 5, [](NalUnits &units) { units.back()[3] = char(0x42); }).onePicture);
    }

    void aRecoveryPoint_promisesWhatItsFlagsSay_data()
    {
        QTest::addColumn<int>("flipped"); // of recovery_frame_cnt, exact_match_flag and broken_link_flag
        QTest::addColumn<int>("expected");
        QTest::newRow("exact") << 0 << int(RandomAccess::RecoveryPoint);
        QTest::newRow("about right") << 0x40 << int(RandomAccess::InexactRecoveryPoint);
        QTest::newRow("right later") << 0x80 << int(RandomAccess::None);
        QTest::newRow("a broken link") << 0x20 << int(RandomAccess::None);
        QTest::newRow("about right and a broken link") << 0x60 << int(RandomAccess::None);
    }
    void aRecoveryPoint_promisesWhatItsFlagsSay()
    {
        QFETCH(const int, flipped);
        QFETCH(const int, expected);
        const QString open = "h264-open.ts";
        const auto isRecoveryPoint = [](const QByteArray &unit) { return unit.mid(3, 2) == QByteArray("\6\6", 2); };
        const AccessUnit unit = tampered(open, secondKey(open), [&](NalUnits &units) {
            const auto sei = std::find_if(units.begin(), units.end(), isRecoveryPoint);
            QVERIFY(sei != units.end());
            (*sei)[6] = char((*sei)[6] ^ flipped);
        });
        QVERIFY(unit.onePicture);
        QCOMPARE(int(unit.randomAccess), expected);
    }

    void aRecoveryPointOfOtherSlices_isNone()
    {
        // Given to a picture that is not intra.
        const QString open = "h264-open.ts";
        const AccessUnit unit = tampered(
            open, 5, [&](NalUnits &units) { units.insert(units.begin(), QByteArray("\0\0\1\6\6\1\xC4\x80", 8)); });
        QVERIFY(unit.onePicture);
        QCOMPARE(int(unit.randomAccess), int(RandomAccess::None));
    }

    void unitsWithLengthsInsteadOfStartCodes_areNotOnePicture()
    {
        const QString path =
            makeWithFFmpeg(folder.path(), "h264.mp4", {"-i", pathOf(sliced), "-c", "copy", "-f", "mp4"});
        const VideoPackets video = readVideoPackets(path);
        QCOMPARE(int(video.packets.size()), kFrames);
        const std::unique_ptr<AccessUnitReader> reader = makeReader();
        for (const ffmpeg::PacketPtr &packet : video.packets)
            QVERIFY(!reader->read(packet->data, std::size_t(packet->size)).onePicture);
    }
};

TEST_CLASS(TestAccessUnitH264, QCoreApplication)
#include "tst_accessunit_h264.moc"
