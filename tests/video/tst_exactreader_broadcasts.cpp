#include "tests/support/teststreams.h"
#include "tests/video/exactcomparison.h"
#include "tests/video/streamset.h"

#include <QtTest>

namespace {

constexpr int kFrames = 400;
constexpr int kLast = 340; // the farthest picture that is asked for; what lies after it has no doubt

struct Row
{
    const char *name;
    const char *encoder;
    const char *parameters; ///< of x264 or x265
    bool interlaced;
    bool inexact; ///< every exact_match_flag becomes 0, and the first IDR is dropped
    int decoded;  ///< most pictures that are decoded for pictures 150 and 300
};

constexpr Row kRows[] = {
    {"h264, open groups, MBAFF", "libx264", "keyint=28:open-gop=1:tff=1", true, true, 87},
    {"h264, open groups, fake fields", "libx264", "keyint=28:open-gop=1:fake-interlaced=1", false, true, 87},
    {"h264, 4 slices", "libx264", "keyint=24:open-gop=1:slices=4", false, true, 72},
    {"h264, 10 B pictures", "libx264", "keyint=33:open-gop=1:bframes=10:b-adapt=0:scenecut=0", false, true, 99},
    {"h264, groups of 250", "libx264", "keyint=250:min-keyint=250:scenecut=0", false, false, 138},
    // From the start on: there is nowhere else to begin.
    {"h264, intra refresh", "libx264", "keyint=24:intra-refresh=1", false, false, 270},
    {"hevc, open groups of 50", "libx265", "keyint=50:open-gop=1:bframes=4:b-pyramid=1:log-level=none", false, false,
     23},
    {"hevc, groups of 250", "libx265", "keyint=250:min-keyint=250:scenecut=0:log-level=none", false, false, 128},
};

} // namespace

/// Encoders set as broadcasters set them: what is read exactly is that of decoding everything, for a bounded part of
/// it.
class TestExactReaderBroadcasts : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;

private slots:
    void pictures_areTheSame_data()
    {
        QTest::addColumn<int>("index");
        int index = 0;
        for (const Row &row : kRows)
            QTest::newRow(row.name) << index++;
    }
    void pictures_areTheSame()
    {
        QFETCH(const int, index);
        const Row &row = kRows[index];
        const bool isHevc = QByteArray(row.encoder) == "libx265";
        TestStream stream{"stream.ts",
                          {"-c:v", row.encoder, "-preset", isHevc ? "ultrafast" : "veryfast", "-bf", "3",
                           isHevc ? "-x265-params" : "-x264-params", row.parameters},
                          kFrames,
                          {160, 128}};
        stream.interlaced = row.interlaced;
        QString path = makeStream(folder.path(), stream);
        QVERIFY(!path.isEmpty());
        if (row.inexact)
            path = makeInexactStream(folder.path(), path);
        QVERIFY(!path.isEmpty());
        const LiteralPictures pictures(path);
        QVERIFY(pictures.count() > kLast);

        const ExactComparison two = compareExactly(pictures, {150, 300});
        report(two);
        QCOMPARE(two.difference, QString());
        QCOMPARE(two.delivered, 2);
        QVERIFY(two.counters.picturesDecoded <= row.decoded);
        const QVector<int> sampled = everyNth(3, kLast, 23);
        for (const QVector<int> &order : {sampled, backwards(sampled), shuffled(sampled, 3)}) {
            const ExactComparison result = compareExactly(pictures, order);
            QCOMPARE(result.difference, QString());
            // Points that promise nothing are put to the test for far pictures only.
            QVERIFY(row.inexact ? result.delivered >= 5 : result.refused == 0);
        }
    }
};

QTEST_GUILESS_MAIN(TestExactReaderBroadcasts)
#include "tst_exactreader_broadcasts.moc"
