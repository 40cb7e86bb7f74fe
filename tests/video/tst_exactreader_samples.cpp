#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "tests/video/exactcomparison.h"

namespace {

struct Capture
{
    const char *name;
    int refused;           ///< numbers that are refused, whatever the order
    int refusedOfAll;      ///< likewise, with QUORVALE_EVERY_PICTURE
    int refusedThumbnails; ///< of the five, one by one
    int decoded;           ///< most pictures that are decoded for these
    int refusedAnnounced;  ///< of the five where they were announced
    int decodedAnnounced;  ///< most pictures that are decoded for these
};

constexpr Capture kCaptures[] = {
    {"mpeg2-704x576i-16x11-subs.ts", 0, 0, 0, 65, 0, 65},
    {"h264-576i-16x11-eac3.ts", 18, 129, 5, 0, 5, 0}, // 31 packets lost in six seconds
    {"h264-576i-12x11-bars.ts", 0, 0, 0, 55, 0, 55},
    {"h264-1080i-ac3.ts", 0, 5, 0, 78, 5, 0},
    {"h264-1080i5994-dirtystart-mp2.ts", 0, 0, 0, 60, 0, 60},
    {"h264-234p-61s-truncated.ts", 0, 0, 0, 22, 0, 22},
    {"hevc-main10-360p-12s.ts", 0, 0, 0, 82, 0, 82},
    {"bd-1080i-5s.m2ts", 0, 0, 0, 60, 5, 0},
    {"akiyo-x265.265", 36, 304, 5, 0, 5, 0}, // no display times
};

} // namespace

/// Real captures: every picture that is read exactly equals that of decoding everything, in any order.
class TestExactReaderSamples : public QObject
{
    Q_OBJECT

private:
    static const LiteralPictures &literal(int index)
    {
        return literalPictures(samplePath(kCaptures[index].name).value_or(QString()));
    }
    static void addCaptures()
    {
        QTest::addColumn<int>("index");
        int index = 0;
        for (const Capture &row : kCaptures)
            QTest::newRow(row.name) << index++;
    }

private slots:
    void initTestCase()
    {
        if (!samplePath(kCaptures[0].name))
            QSKIP("the folder with real captures is not here");
    }

    void everyTenthPicture_isTheSame_inAnyOrder_data() { addCaptures(); }
    void everyTenthPicture_isTheSame_inAnyOrder()
    {
        QFETCH(const int, index);
        const LiteralPictures &pictures = literal(index);
        QVERIFY(pictures.isOpen());
        const bool dense = qEnvironmentVariableIsSet("QUORVALE_EVERY_PICTURE");
        const QVector<int> targets =
            everyNth(0, pictures.count(), dense ? 1 : 10) + everyNth(pictures.count() - 4, pictures.count() + 12, 3);
        for (const QVector<int> &order : {targets, backwards(targets), shuffled(targets, 17)}) {
            const ExactComparison result = compareExactly(pictures, order);
            report(result);
            QCOMPARE(result.difference, QString());
            QCOMPARE(result.refused, dense ? kCaptures[index].refusedOfAll : kCaptures[index].refused);
        }
    }

    void thumbnails_areTheSame_data() { addCaptures(); }
    void thumbnails_areTheSame()
    {
        QFETCH(const int, index);
        const LiteralPictures &pictures = literal(index);
        for (const int target : thumbnailTargets())
            QCOMPARE(compareExactly(pictures, {target}).difference, QString());
        const ExactComparison result = compareExactly(pictures, thumbnailTargets());
        const ExactComparison announced = compareExactly(pictures, thumbnailTargets(), 2);
        report(result);
        report(announced);
        QCOMPARE(result.difference + announced.difference, QString());
        QCOMPARE(result.refused, kCaptures[index].refusedThumbnails);
        QCOMPARE(announced.refused, kCaptures[index].refusedAnnounced);
        QVERIFY(result.counters.picturesDecoded <= kCaptures[index].decoded);
        QVERIFY(announced.counters.picturesDecoded <= kCaptures[index].decodedAnnounced);
    }
};

TEST_CLASS(TestExactReaderSamples, QCoreApplication)
#include "tst_exactreader_samples.moc"
