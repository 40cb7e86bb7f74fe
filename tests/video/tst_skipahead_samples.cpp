#include "tests/support/teststreams.h"
#include "tests/video/skipcomparison.h"

#include <QtTest>

namespace {

struct Capture
{
    const char *name;
    int pictures; ///< about how many it has
    int step;     ///< between the pictures that are compared
};

constexpr Capture kCaptures[] = {
    {"mpeg2-704x576i-16x11-subs.ts", 116, 10},
    {"h264-576i-16x11-eac3.ts", 150, 10},
    {"h264-576i-12x11-bars.ts", 248, 10},
    {"h264-1080i5994-dirtystart-mp2.ts", 126, 10},
    {"h264-234p-61s-truncated.ts", 1825, 10},
    {"hevc-main10-360p-12s.ts", 360, 10},
    {"bd-1080i-5s.m2ts", 151, 10},
    {"akiyo-x265.265", 300, 10},
};

} // namespace

/// Real captures, read with and without skipping ahead.
class TestSkipAheadSamples : public QObject
{
    Q_OBJECT

private:
    QString path;
    Capture capture = {};

    void addCaptures()
    {
        QTest::addColumn<int>("index");
        int index = 0;
        for (const Capture &row : kCaptures)
            QTest::newRow(row.name) << index++;
    }
    static bool isDense() { return qEnvironmentVariableIsSet("QUORVALE_EVERY_PICTURE"); }

private slots:
    void initTestCase()
    {
        if (!samplePath(kCaptures[0].name))
            QSKIP("the folder with real captures is not here");
    }

    void init()
    {
        QFETCH(const int, index);
        capture = kCaptures[index];
        path = samplePath(capture.name).value_or(QString());
        QVERIFY(!path.isEmpty());
    }

    void everything_isTheSame_forThumbnails_data() { addCaptures(); }
    void everything_isTheSame_forThumbnails()
    {
        QCOMPARE(compareSkipping(path, thumbnailTargets()).difference, QString());
    }

    void everything_isTheSame_forEveryTenthPicture_data() { addCaptures(); }
    void everything_isTheSame_forEveryTenthPicture()
    {
        const int offsets = isDense() ? 10 : 1;
        for (int offset = 0; offset < offsets; ++offset) {
            const SkipComparison result = compareSkipping(path, everyNth(offset, capture.pictures + 12, capture.step));
            QCOMPARE(result.difference, QString());
            QVERIFY(result.delivered > capture.pictures / 20);
        }
    }

    void everything_isTheSame_forPicturesFarApart_data() { addCaptures(); }
    void everything_isTheSame_forPicturesFarApart()
    {
        const int step = isDense() ? 7 : std::max(50, capture.pictures / 4);
        for (int first = 45; first < capture.pictures; first += step)
            QCOMPARE(compareSkipping(path, {first, first + 61, first + 62}).difference, QString());
    }
};

QTEST_GUILESS_MAIN(TestSkipAheadSamples)
#include "tst_skipahead_samples.moc"
