#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "tests/video/accessunitcases.h"
#include "video/bitstream/h264_slicedata.h"

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

    void slicesWithoutData_sayTheSame_andTakeFewBytes()
    {
        // Every other picture is cut; what depends on headers, the order of output among it, stays.
        QVector<QByteArray> whole;
        QVector<QByteArray> cut;
        const VideoPackets video = readVideoPackets(pathOf(sliced));
        const std::unique_ptr<AccessUnitReader> reader = makeReader();
        const std::unique_ptr<AccessUnitReader> readerOfCut = makeReader();
        for (const ffmpeg::PacketPtr &packet : video.packets) {
            const auto size = std::size_t(packet->size);
            const AccessUnit unit = reader->read(packet->data, size);
            QVERIFY(unit.sliceHeaderBytes > 0);
            const auto kept = h264::withoutSliceData(packet->data, size, unit.sliceHeaderBytes);
            const AccessUnit again = readerOfCut->read(kept.data(), kept.size());
            QCOMPARE(again.onePicture, true);
            QCOMPARE(again.pictureOrderCount, unit.pictureOrderCount);
            QCOMPARE(again.isReference, unit.isReference);
            QVERIFY(again.references == unit.references);
            QCOMPARE(again.sliceHeaderBytes, unit.sliceHeaderBytes);
            whole.append(QByteArray(reinterpret_cast<const char *>(packet->data), packet->size));
            const bool isCut = whole.size() % 2 == 0;
            cut.append(isCut ? QByteArray(reinterpret_cast<const char *>(kept.data()), int(kept.size()))
                             : whole.back());
            QVERIFY(!isCut || cut.back().size() < 200 + whole.back().size() / 10);
        }
        QCOMPARE(decodedOrder(AV_CODEC_ID_H264, cut), decodedOrder(AV_CODEC_ID_H264, whole));
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
