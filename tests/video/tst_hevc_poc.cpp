#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "tests/video/hevcsyntax.h"
#include "tests/video/nalunits.h"
#include "tests/video/videopackets.h"
#include "tests/video/writtenunits.h"
#include "video/bitstream/accessunitreader.h"

#include <memory>

using namespace quorvale;
using hevcsyntax::Pps;
using hevcsyntax::Slice;
using hevcsyntax::Sps;

namespace {

Slice picture(int nalUnitType, std::uint32_t lsb, int temporalId = 0)
{
    Slice slice;
    slice.nalUnitType = nalUnitType;
    slice.picOrderCntLsb = lsb % 16;
    slice.temporalId = temporalId;
    return slice;
}

// Reads pictures one by one, the parameter sets with the first.
class Stream
{
public:
    AccessUnit next(const Slice &slice, const QByteArray &before = {}, const QByteArray &after = {})
    {
        const QByteArray sets = isFirst ? sps.write() + pps.write() : QByteArray();
        isFirst = false;
        return readUnit(*reader, before + sets + slice.write(sps, pps) + after);
    }
    std::int64_t countOf(const Slice &slice)
    {
        const AccessUnit unit = next(slice);
        return unit.onePicture ? unit.pictureOrderCount : INT64_MIN;
    }

    Sps sps;
    Pps pps;

private:
    std::unique_ptr<AccessUnitReader> reader = makeAccessUnitReader(VideoCoding::Hevc);
    bool isFirst = true;
};

QByteArray endOfSequence()
{
    return QByteArray("\0\0\1", 3) + hevcsyntax::header(hevcsyntax::EndOfSequence);
}

} // namespace

/// Picture order counts of H.265, where coded video sequences begin, and what is not output there.
class TestHevcPoc : public QObject
{
    Q_OBJECT

private slots:
    void counts_goOn_whereTheLsbStartsAgain()
    {
        Stream stream;
        QCOMPARE(stream.countOf(picture(hevcsyntax::IdrNLp, 0)), std::int64_t{0});
        for (std::uint32_t i = 1; i <= 12; ++i) {
            QCOMPARE(stream.countOf(picture(hevcsyntax::TrailR, 4 * i)), std::int64_t{4 * i});
            QCOMPARE(stream.countOf(picture(hevcsyntax::TrailN, 4 * i - 3)), std::int64_t{4 * i - 3});
        }
        QCOMPARE(stream.countOf(picture(hevcsyntax::IdrWRadl, 0)), std::int64_t{0});
        QCOMPARE(stream.countOf(picture(hevcsyntax::RadlR, 14)), std::int64_t{-2});
    }

    void counts_restOnPicturesOfTheLowestSubLayer_thatOthersReferTo_data()
    {
        QTest::addColumn<int>("nalUnitType");
        QTest::addColumn<int>("temporalId");
        QTest::addColumn<int>("next");
        QTest::newRow("counted on from") << int(hevcsyntax::TrailR) << 0 << 28;
        QTest::newRow("sub-layer non-reference") << int(hevcsyntax::TrailN) << 0 << 12;
        QTest::newRow("RADL") << int(hevcsyntax::RadlR) << 0 << 12;
        QTest::newRow("RASL") << int(hevcsyntax::RaslR) << 0 << 12;
        QTest::newRow("of a higher sub-layer") << int(hevcsyntax::TrailR) << 1 << 12;
    }
    void counts_restOnPicturesOfTheLowestSubLayer_thatOthersReferTo()
    {
        // After 14 the lsb 12 means 12; after 21, where that is counted on from, 28.
        QFETCH(const int, nalUnitType);
        QFETCH(const int, temporalId);
        QFETCH(const int, next);
        Stream stream;
        QVERIFY(stream.next(picture(hevcsyntax::IdrNLp, 0)).onePicture);
        QCOMPARE(stream.countOf(picture(hevcsyntax::TrailR, 7)), std::int64_t{7});
        QCOMPARE(stream.countOf(picture(hevcsyntax::TrailR, 14)), std::int64_t{14});
        const AccessUnit unit = stream.next(picture(nalUnitType, 5, temporalId));
        QCOMPARE(unit.pictureOrderCount, std::int64_t{21});
        QCOMPARE(unit.isPrevTid0Pic, next == 28);
        QCOMPARE(unit.maxPicOrderCntLsb, std::uint32_t{16});
        QCOMPARE(stream.countOf(picture(hevcsyntax::TrailR, 12)), std::int64_t{next});
    }

    void sequences_startAtIdrAndBla_andAtACraOnlyWhereTheyMust()
    {
        Stream stream;
        AccessUnit unit = stream.next(picture(hevcsyntax::Cra, 9));
        QCOMPARE(int(unit.randomAccess), int(RandomAccess::Cra));
        QVERIFY(unit.startsSequence);
        QCOMPARE(unit.pictureOrderCount, std::int64_t{9});
        QVERIFY(!unit.mayWithholdOutput);

        unit = stream.next(picture(hevcsyntax::RaslR, 7));
        QVERIFY(unit.onePicture);
        QVERIFY(unit.isRasl);
        QVERIFY(!unit.mayWithholdOutput); // nothing but the beginning is missed

        QCOMPARE(stream.countOf(picture(hevcsyntax::TrailR, 0)), std::int64_t{16});
        unit = stream.next(picture(hevcsyntax::Cra, 4));
        QVERIFY(!unit.startsSequence);
        QCOMPARE(unit.pictureOrderCount, std::int64_t{20});

        unit = stream.next(picture(hevcsyntax::BlaWLp, 6));
        QCOMPARE(int(unit.randomAccess), int(RandomAccess::Bla));
        QVERIFY(unit.startsSequence);
        QCOMPARE(unit.pictureOrderCount, std::int64_t{6});

        unit = stream.next(picture(hevcsyntax::IdrWRadl, 0));
        QCOMPARE(int(unit.randomAccess), int(RandomAccess::Idr));
        QVERIFY(unit.startsSequence);
    }

    void aCraThatBeginsTheStream_isCountedFromZero_whereTheParserTakesOneRangeOff()
    {
        // 8.3.1: PicOrderCntMsb is 0 if NoRaslOutputFlag is 1. libavcodec takes the picture before to have had 0,
        // and the lsb 9 of 16 for -7. All counts after it are as much less, so that no order depends on it.
        Stream stream;
        const Slice cra = picture(hevcsyntax::Cra, 9);
        const QByteArray unit =
            hevcsyntax::vps() + stream.sps.write() + stream.pps.write() + cra.write(stream.sps, stream.pps);
        QCOMPARE(parserCounts(AV_CODEC_ID_HEVC, {unit}), QVector<std::int64_t>{9 - 16});
        QCOMPARE(stream.countOf(cra), std::int64_t{9});
    }

    void raslPicturesOfABla_areNotOutput()
    {
        Stream stream;
        QVERIFY(stream.next(picture(hevcsyntax::IdrNLp, 0)).onePicture);
        QVERIFY(!stream.next(picture(hevcsyntax::Cra, 8)).mayWithholdOutput);
        QVERIFY(!stream.next(picture(hevcsyntax::RaslN, 6)).mayWithholdOutput);
        QVERIFY(!stream.next(picture(hevcsyntax::BlaWLp, 8)).mayWithholdOutput);
        QVERIFY(stream.next(picture(hevcsyntax::RaslN, 6)).mayWithholdOutput);
        QVERIFY(!stream.next(picture(hevcsyntax::RadlR, 7)).mayWithholdOutput);
    }

    void anEndOfSequence_isDamage_andMakesTheNextCraStartASequence_data()
    {
        QTest::addColumn<bool>("after");
        QTest::newRow("with the picture before") << true;
        QTest::newRow("with the picture after") << false;
    }
    void anEndOfSequence_isDamage_andMakesTheNextCraStartASequence()
    {
        QFETCH(const bool, after);
        Stream stream;
        QVERIFY(stream.next(picture(hevcsyntax::IdrNLp, 0)).onePicture);
        const Slice last = picture(hevcsyntax::TrailR, 10);
        const Slice cra = picture(hevcsyntax::Cra, 3);
        const AccessUnit before = after ? stream.next(last, {}, endOfSequence()) : stream.next(last);
        QCOMPARE(before.onePicture, !after);
        const AccessUnit unit = after ? stream.next(cra) : stream.next(cra, endOfSequence());
        QCOMPARE(unit.onePicture, after);
        QVERIFY(unit.mayWithholdOutput); // what waits for output when it comes
        if (after) {
            QVERIFY(unit.startsSequence);
            QCOMPARE(unit.pictureOrderCount, std::int64_t{3});
        }
        // It is over then.
        QCOMPARE(stream.countOf(picture(hevcsyntax::TrailR, 4)), std::int64_t{4});
        const AccessUnit next = stream.next(picture(hevcsyntax::Cra, 6));
        QVERIFY(next.onePicture);
        QVERIFY(!next.startsSequence);
        QVERIFY(!next.mayWithholdOutput);
    }

    void picturesThatSayTheyAreNotOutput_areTold()
    {
        Stream stream;
        stream.pps.outputFlagPresent = true;
        QVERIFY(stream.next(picture(hevcsyntax::IdrNLp, 0)).mayWithholdOutput); // holds the PPS that lets them say so
        Slice slice = picture(hevcsyntax::TrailR, 1);
        QVERIFY(!stream.next(slice).mayWithholdOutput);
        slice.picOutput = false;
        const AccessUnit unit = stream.next(slice);
        QVERIFY(unit.onePicture);
        QVERIFY(unit.mayWithholdOutput);
        Slice idr = picture(hevcsyntax::IdrNLp, 0);
        QVERIFY(!stream.next(idr).mayWithholdOutput);
        idr.noOutputOfPriorPics = true;
        QVERIFY(stream.next(idr).mayWithholdOutput);
    }

    void whatTheDecoderWithholds_isToldBefore()
    {
        // Every CRA but the first becomes a BLA: the decoder does not deliver its RASL pictures, and no other is
        // missed.
        QTemporaryDir folder;
        const QString path =
            makeWithFFmpeg(folder.path(), "open.ts",
                           words("-f lavfi -i testsrc2=s=64x64:d=4 -c:v libx265 -preset ultrafast "
                                 "-x265-params keyint=24:log-level=none:bframes=4:b-pyramid=1:open-gop=1"));
        const VideoPackets video = readVideoPackets(path);
        const std::unique_ptr<AccessUnitReader> reader = makeAccessUnitReader(VideoCoding::Hevc);
        QVector<QByteArray> units;
        QVector<std::pair<std::int64_t, int>> predicted; // sequence and count in one, and the packet
        std::int64_t sequence = 0;
        int withheld = 0;
        for (const ffmpeg::PacketPtr &packet : video.packets) {
            NalUnits nals = nalUnitsOf(*packet);
            const auto slice = findSlice(nals, "hevc");
            QVERIFY(slice != nals.end());
            if (nalUnitType(*slice, "hevc") == hevcsyntax::Cra)
                slice->replace(3, 2, hevcsyntax::header(hevcsyntax::BlaWLp));
            units.append(bytesOf(nals));
            const AccessUnit unit = readUnit(*reader, units.last());
            QVERIFY(unit.onePicture);
            sequence += unit.startsSequence ? 1 : 0;
            QCOMPARE(unit.mayWithholdOutput, unit.isRasl);
            if (unit.mayWithholdOutput)
                ++withheld;
            else
                predicted.append({sequence * 10000 + unit.pictureOrderCount, int(units.size()) - 1});
        }
        std::sort(predicted.begin(), predicted.end());
        QVector<int> order;
        for (const auto &picture : predicted)
            order.append(picture.second);
        QVERIFY(withheld >= 6);
        QCOMPARE(decodedOrder(AV_CODEC_ID_HEVC, units), order);
    }
};

TEST_CLASS(TestHevcPoc, QCoreApplication)
#include "tst_hevc_poc.moc"
