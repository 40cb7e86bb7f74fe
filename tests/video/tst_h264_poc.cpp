#include "tests/support/testclass.h"
#include "tests/video/h264syntax.h"
#include "tests/video/writtenunits.h"
#include "video/bitstream/accessunitreader.h"

#include <algorithm>
#include <memory>

using namespace quorvale;
using h264syntax::Pps;
using h264syntax::Slice;
using h264syntax::Sps;

namespace {

struct Stream
{
    Sps sps;
    Pps pps;
    QVector<Slice> slices; // each an access unit

    [[nodiscard]] QVector<QByteArray> units() const
    {
        QVector<QByteArray> written;
        for (const Slice &slice : slices)
            written.append((slice.idr ? sps.write() + pps.write() : QByteArray()) + slice.write(sps, pps));
        return written;
    }
};

QVector<AccessUnit> readUnits(const Stream &stream)
{
    const std::unique_ptr<AccessUnitReader> reader = makeAccessUnitReader(VideoCoding::H264);
    QVector<AccessUnit> found;
    for (const QByteArray &unit : stream.units())
        found.append(readUnit(*reader, unit));
    return found;
}

QVector<std::int64_t> countsOf(const Stream &stream)
{
    QVector<std::int64_t> counts;
    for (const AccessUnit &unit : readUnits(stream))
        counts.append(unit.onePicture ? unit.pictureOrderCount : INT64_MIN);
    return counts;
}

Slice idr(std::uint32_t picId = 0)
{
    Slice slice;
    slice.type = Slice::I;
    slice.idr = true;
    slice.idrPicId = picId;
    return slice;
}

Slice picture(std::uint32_t frameNum, std::uint32_t lsb, bool isReference = true)
{
    Slice slice;
    slice.frameNum = frameNum % 16;
    slice.picOrderCntLsb = lsb % 16;
    slice.refIdc = isReference ? 1 : 0;
    return slice;
}

BitWriter memoryManagementControl5()
{
    return BitWriter().flag(true).ue(5).ue(0);
}

} // namespace

/// Picture order counts of H.264 streams that no encoder here makes, held against the standard's arithmetic and against
/// the order in which a decoder delivers the pictures.
class TestH264Poc : public QObject
{
    Q_OBJECT

private slots:
    void type0_countsOn_whereTheLsbStartsAgain()
    {
        // Pictures 4 apart, each with one before it in output order: the 16 values of the lsb are passed three times.
        Stream stream;
        stream.slices.append(idr());
        QVector<std::int64_t> expected = {0};
        for (std::uint32_t i = 1; i <= 12; ++i) {
            stream.slices.append(picture(i, 4 * i));
            stream.slices.append(picture(i + 1, 4 * i - 2, false));
            expected << 4 * i << 4 * i - 2;
        }
        QCOMPARE(countsOf(stream), expected);
        QCOMPARE(decodedOrder(AV_CODEC_ID_H264, stream.units()), predictedOrder(readUnits(stream)));
        QCOMPARE(predictedOrder(readUnits(stream)).mid(0, 5), (QVector<int>{0, 2, 1, 4, 3}));
    }

    void type0_goesBelowZero_afterTheIdr()
    {
        Stream stream;
        stream.slices = {idr(), picture(1, 4), picture(2, 14, false), picture(2, 2, false)};
        QCOMPARE(countsOf(stream), (QVector<std::int64_t>{0, 4, -2, 2}));
    }

    void type0_takesTheLesserOfTheFieldsOfAFrame()
    {
        Stream stream;
        stream.sps.frameMbsOnly = false;
        stream.pps.bottomFieldPicOrderInFramePresent = true;
        stream.slices = {idr(), picture(1, 8), picture(2, 4, false)};
        stream.slices[1].deltaPicOrderCntBottom = -1;
        stream.slices[2].deltaPicOrderCntBottom = 1;
        QCOMPARE(countsOf(stream), (QVector<std::int64_t>{0, 7, 4}));
        QCOMPARE(decodedOrder(AV_CODEC_ID_H264, stream.units()), predictedOrder(readUnits(stream)));
    }

    void type0_countsFields_ofEitherParityFirst_data()
    {
        QTest::addColumn<bool>("bottomFirst");
        QTest::newRow("top field first") << false;
        QTest::newRow("bottom field first") << true;
    }
    void type0_countsFields_ofEitherParityFirst()
    {
        QFETCH(const bool, bottomFirst);
        Stream stream;
        stream.sps.frameMbsOnly = false;
        QVector<std::int64_t> expected;
        const auto addFrame = [&](Slice first, std::uint32_t lsb) {
            Slice second = picture(first.frameNum, lsb + 1, first.refIdc != 0);
            first.picOrderCntLsb = lsb % 16;
            first.field = second.field = true;
            first.bottomField = bottomFirst;
            second.bottomField = !bottomFirst;
            stream.slices << first << second;
            expected << lsb << lsb + 1;
        };
        addFrame(idr(), 0);
        for (std::uint32_t i = 1; i <= 8; ++i) {
            addFrame(picture(i, 0), 4 * i);
            addFrame(picture(i + 1, 0, false), 4 * i - 2);
        }
        QCOMPARE(countsOf(stream), expected);
        QCOMPARE(decodedOrder(AV_CODEC_ID_H264, stream.units()), predictedOrder(readUnits(stream)));
        const AccessUnit unit = readUnits(stream)[3];
        QCOMPARE(int(unit.structure), int(bottomFirst ? PictureStructure::TopField : PictureStructure::BottomField));
        QCOMPARE(unit.frameNum, 1U);
    }

    void type1_addsTheOffsetsOfItsCycle()
    {
        // A cycle of two pictures that others refer to, each with one that none refers to before it in output order.
        Stream stream;
        stream.sps.picOrderCntType = 1;
        stream.sps.offsetForRefFrame = {4, 6};
        stream.sps.offsetForNonRefPic = -2;
        stream.slices = {idr()};
        QVector<std::int64_t> expected = {0};
        std::int64_t count = 0;
        for (std::uint32_t i = 1; i <= 20; ++i) { // frame_num starts again after 15
            count += i % 2 != 0 ? 4 : 6;
            stream.slices << picture(i, 0) << picture(i + 1, 0, false);
            expected << count << count - 2;
        }
        QCOMPARE(countsOf(stream), expected);
        QCOMPARE(decodedOrder(AV_CODEC_ID_H264, stream.units()), predictedOrder(readUnits(stream)));
    }

    void type1_addsWhatTheSliceSays_andKnowsFields()
    {
        Stream stream;
        stream.sps.picOrderCntType = 1;
        stream.sps.offsetForRefFrame = {8};
        stream.sps.offsetForTopToBottomField = 1;
        stream.sps.frameMbsOnly = false;
        stream.pps.bottomFieldPicOrderInFramePresent = true;
        stream.slices = {idr(), picture(1, 0), picture(2, 0), picture(2, 0), picture(3, 0)};
        stream.slices[1].deltaPicOrderCnt[0] = 3;
        stream.slices[1].deltaPicOrderCnt[1] = -3; // the bottom field before the top field
        stream.slices[2].field = stream.slices[3].field = true;
        stream.slices[3].bottomField = true;
        stream.slices[3].deltaPicOrderCnt[0] = 2;
        stream.slices[4].deltaPicOrderCnt[0] = -4;
        QCOMPARE(countsOf(stream), (QVector<std::int64_t>{0, 9, 16, 19, 20}));
        QCOMPARE(decodedOrder(AV_CODEC_ID_H264, stream.units()), predictedOrder(readUnits(stream)));
    }

    void type1_withoutACycle_restsOnTheSlices()
    {
        Stream stream;
        stream.sps.picOrderCntType = 1;
        stream.slices = {idr(), picture(1, 0), picture(2, 0, false)};
        stream.slices[1].deltaPicOrderCnt[0] = 4;
        stream.slices[2].deltaPicOrderCnt[0] = 2;
        QCOMPARE(countsOf(stream), (QVector<std::int64_t>{0, 4, 2}));
        QCOMPARE(decodedOrder(AV_CODEC_ID_H264, stream.units()), predictedOrder(readUnits(stream)));
    }

    void type1_isRefused_whereTheCountsLeaveTheirRange()
    {
        // Each picture lets frame_num start again: no arithmetic overflows, and at some time it is refused.
        Stream stream;
        stream.sps.picOrderCntType = 1;
        stream.sps.log2MaxFrameNumMinus4 = 12;
        stream.sps.offsetForRefFrame = {INT32_MAX};
        stream.slices = {idr(), picture(1, 0), picture(2, 0), picture(0, 0)};
        QCOMPARE(countsOf(stream), (QVector<std::int64_t>{0, INT32_MAX, INT64_MIN, 0}));
    }

    void type2_isDecodeOrder()
    {
        Stream stream;
        stream.sps.picOrderCntType = 2;
        stream.slices = {idr()};
        QVector<std::int64_t> expected = {0};
        for (std::uint32_t i = 1; i <= 20; ++i) {
            stream.slices << picture(i, 0) << picture(i + 1, 0, false);
            expected << 2 * i << 2 * i + 1;
        }
        stream.slices.append(idr(1));
        expected.append(0);
        QCOMPARE(countsOf(stream), expected);
        QCOMPARE(decodedOrder(AV_CODEC_ID_H264, stream.units()), predictedOrder(readUnits(stream)));
        const QVector<int> order = predictedOrder(readUnits(stream));
        QVERIFY(std::is_sorted(order.begin(), order.end()));
    }

    void memoryManagementControl5_startsASequence_data()
    {
        QTest::addColumn<int>("type");
        QTest::newRow("type 0") << 0;
        QTest::newRow("type 1") << 1;
        QTest::newRow("type 2") << 2;
    }
    void memoryManagementControl5_startsASequence()
    {
        QFETCH(const int, type);
        Stream stream;
        stream.sps.picOrderCntType = std::uint32_t(type);
        stream.sps.offsetForRefFrame = {4};
        stream.sps.offsetForNonRefPic = -2;
        const auto addPictures = [&] {
            for (std::uint32_t i = 1; i <= 5; ++i)
                stream.slices << picture(i, 4 * i) << picture(i + 1, 4 * i - 2, false);
        };
        stream.slices = {idr()};
        addPictures();
        Slice reset = picture(6, 24);
        reset.decRefPicMarking = memoryManagementControl5();
        stream.slices.append(reset);
        addPictures(); // counted from the reset on
        const QVector<AccessUnit> units = readUnits(stream);
        QVERIFY(units[11].startsSequence);
        QCOMPARE(int(units[11].randomAccess), int(RandomAccess::None));
        QCOMPARE(units[11].frameNum, 0U);
        const QVector<std::int64_t> counts = countsOf(stream);
        QCOMPARE(counts.mid(11), counts.mid(0, 11));
        // The parser differs where 8.2.1 subtracts tempPicOrderCnt after the decoding of the picture: it counts that
        // one as it was before, and with type 0 those after it from there, here one range of the lsb more. The
        // decoder's output is that of the standard's counts.
        QVector<std::int64_t> parsed = parserCounts(AV_CODEC_ID_H264, stream.units());
        QCOMPARE(parsed[11], std::int64_t{type == 2 ? 12 : 24});
        parsed[11] = 0;
        for (int i = 12; i < parsed.size() && type == 0; ++i)
            parsed[i] -= 16;
        QCOMPARE(parsed, counts);
        QCOMPARE(decodedOrder(AV_CODEC_ID_H264, stream.units()), predictedOrder(readUnits(stream)));
    }

    void memoryManagementControl5_ofAFirstField_isSeenByTheSecond()
    {
        for (const bool bottomFirst : {false, true}) {
            Stream stream;
            stream.sps.frameMbsOnly = false;
            stream.slices = {idr(), picture(1, 4), picture(2, 8), picture(0, 1), picture(1, 4)};
            Slice &first = stream.slices[2];
            Slice &second = stream.slices[3];
            first.field = second.field = true;
            first.bottomField = bottomFirst;
            second.bottomField = !bottomFirst;
            first.decRefPicMarking = memoryManagementControl5();
            QCOMPARE(countsOf(stream), (QVector<std::int64_t>{0, 4, 0, 1, 4}));
            const QVector<AccessUnit> units = readUnits(stream);
            QVERIFY(units[2].startsSequence);
            QVERIFY(!units[3].startsSequence);
            QCOMPARE(units[2].frameNum, units[3].frameNum);
            QCOMPARE(decodedOrder(AV_CODEC_ID_H264, stream.units()), predictedOrder(readUnits(stream)));
        }
    }
};

TEST_CLASS(TestH264Poc, quorvale::NoApplication)
#include "tst_h264_poc.moc"
