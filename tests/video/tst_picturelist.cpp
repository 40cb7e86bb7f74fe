#include "tests/support/testclass.h"
#include "video/exact/picturelist.h"

using namespace quorvale;

namespace {

constexpr std::int64_t kUnitsInASecond = 90000; // units
constexpr std::int64_t kUnitsBetween = 3600;    // between pictures
constexpr int kPictures = 12;
constexpr int kOdd = 6; // the picture that is not like the others

AccessUnit unitWithoutDoubt(int number)
{
    AccessUnit unit;
    unit.onePicture = true;
    unit.pictureOrderCount = number;
    unit.startsSequence = number == 0;
    unit.randomAccess = number == 0 ? RandomAccess::Idr : RandomAccess::None;
    return unit;
}

// A list of pictures of which `change` may make one another one.
template <typename Change>
PictureList listWith(Change change, bool needsDisplayTimes = true)
{
    PictureList pictures(kUnitsInASecond, needsDisplayTimes);
    for (int number = 0; number < kPictures; ++number) {
        ScannedPacket packet;
        packet.pts = number * kUnitsBetween;
        packet.size = 1000;
        PacketCircumstances circumstances;
        circumstances.dts = number * kUnitsBetween;
        AccessUnit unit = unitWithoutDoubt(number);
        if (number == kOdd)
            change(packet, unit, circumstances);
        pictures.append(packet, unit, circumstances);
    }
    return pictures;
}

// The pictures with that doubt; a list of all doubtful ones must be the same.
QVector<int> doubtful(const PictureList &pictures, Doubt doubt)
{
    QVector<int> found;
    for (int number = 0; number < kPictures; ++number) {
        const std::uint16_t doubts = pictures.picture(PictureIndex(std::int64_t{number})).doubts;
        if (doubts == doubt)
            found.append(number);
        else if (doubts != 0)
            return {-1};
    }
    return found;
}

} // namespace

/// What a packet's flags and times make of its picture, and of those beside it.
class TestPictureList : public QObject
{
    Q_OBJECT

private slots:
    void soundPictures_areWithoutDoubt()
    {
        const PictureList pictures = listWith([](ScannedPacket &, AccessUnit &, PacketCircumstances &) {});
        QCOMPARE(doubtful(pictures, kCorruptNear), QVector<int>());
        QVERIFY(pictures.isUndoubted());
        QVERIFY(pictures.parameterSetters().empty());
    }

    void aCorruptPacket_castsDoubtOnThoseBesideIt()
    {
        // A packet ends where the next one begins: the flag can be one late, and the loss reach further.
        const PictureList pictures = listWith(
            [](ScannedPacket &, AccessUnit &, PacketCircumstances &circumstances) { circumstances.corrupt = true; });
        QCOMPARE(doubtful(pictures, kCorruptNear), (QVector<int>{kOdd - 1, kOdd, kOdd + 1, kOdd + 2}));
        QVERIFY(!pictures.isUndoubted());
    }

    void newExtradata_isAChangeOfParameters()
    {
        const PictureList pictures = listWith([](ScannedPacket &, AccessUnit &, PacketCircumstances &circumstances) {
            circumstances.newExtradata = true;
        });
        QCOMPARE(doubtful(pictures, kParametersChanged), QVector<int>{kOdd});
        QCOMPARE(int(pictures.parameterSetters().size()), 1);
        QVERIFY(pictures.parameterSetters().front() == PictureIndex(std::int64_t{kOdd}));
    }

    void aPictureWithoutDisplayTime_isDoubtful_whereTheOrderRestsOnIt()
    {
        const auto change = [](ScannedPacket &packet, AccessUnit &, PacketCircumstances &) {
            packet.pts = kNoTimestamp;
        };
        QCOMPARE(doubtful(listWith(change, true), kNoDisplayTime), QVector<int>{kOdd});
        QCOMPARE(doubtful(listWith(change, false), kNoDisplayTime), QVector<int>());
    }

    void decodeTimes_mustNotGoBackOrJump_data()
    {
        QTest::addColumn<qint64>("dts");
        QTest::addColumn<QVector<int>>("expected");
        QTest::newRow("none") << qint64(kNoTimestamp) << QVector<int>();
        QTest::newRow("the same as before") << qint64((kOdd - 1) * kUnitsBetween) << QVector<int>();
        QTest::newRow("back, and on again") << qint64((kOdd - 2) * kUnitsBetween) << QVector<int>{kOdd};
        QTest::newRow("too far, and back")
            << qint64(kOdd * kUnitsBetween + kUnitsInASecond) << QVector<int>{kOdd, kOdd + 1};
        QTest::newRow("as far as there is") << qint64(INT64_MAX) << QVector<int>{kOdd, kOdd + 1};
    }
    void decodeTimes_mustNotGoBackOrJump()
    {
        QFETCH(const qint64, dts);
        QFETCH(const QVector<int>, expected);
        const PictureList pictures = listWith(
            [&](ScannedPacket &, AccessUnit &, PacketCircumstances &circumstances) { circumstances.dts = dts; });
        QCOMPARE(doubtful(pictures, kDecodeTimeUnsteady), expected);
    }

    void twoFieldsInOnePacket_areOnePicture_thatPromisesNothing()
    {
        const PictureList pictures = listWith([](ScannedPacket &, AccessUnit &unit, PacketCircumstances &) {
            unit.onePicture = false;
            unit.bothFields = true;
        });
        QVERIFY(pictures.isUndoubted());
        QVERIFY(pictures.picture(PictureIndex(std::int64_t{kOdd})).promisesNothing());
        QVERIFY(!pictures.picture(PictureIndex(std::int64_t{kOdd + 1})).promisesNothing());
    }

    void theLastPicture_isDoubtful_butNoFaultOfTheRecording()
    {
        PictureList pictures = listWith([](ScannedPacket &, AccessUnit &, PacketCircumstances &) {});
        pictures.finish();
        QCOMPARE(doubtful(pictures, kLastOfFile), QVector<int>{kPictures - 1});
        QVERIFY(pictures.isUndoubted());
    }
};

TEST_CLASS(TestPictureList, QCoreApplication)
#include "tst_picturelist.moc"
