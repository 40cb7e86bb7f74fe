#include "tests/support/teststreams.h"
#include "tests/video/packetunits.h"
#include "tests/video/skipcomparison.h"
#include "tests/video/videopackets.h"

#include <QTemporaryDir>
#include <QtTest>

#include <utility>

namespace {

constexpr int kGroup = 20;
constexpr int kMixed = 5 * kGroup + 5; // the picture that is put together of two
constexpr int kFrames = 230;
const QVector<int> kTargets = {70, 190};

} // namespace

/// A picture of which one slice is I and the other one P: whether it enters the table is up to the decoder, which has
/// to be asked.
class TestSkipAheadMixedSlices : public QObject
{
    Q_OBJECT

private:
    struct Encodings
    {
        QString inter; // all pictures but those that begin a group are P
        QString intra; // picture kMixed is I and begins no group
    };
    QTemporaryDir folder;
    QMap<QString, Encodings> encodings; // by codec

    QString make(const QString &fileName, int frames, const QStringList &encoder)
    {
        return makeStream(folder.path(), {fileName, encoder, frames, false, false, 160, 128});
    }

    // The stream with P pictures, but slice `which` of picture kMixed is I.
    QString mixed(const QString &codec, int which)
    {
        const VideoPackets inter = readVideoPackets(encodings[codec].inter);
        const VideoPackets intra = readVideoPackets(encodings[codec].intra);
        QByteArray bytes;
        for (std::size_t i = 0; i < inter.packets.size(); ++i) {
            Units units = unitsOf(*inter.packets[i]);
            if (i == kMixed) {
                Units others = unitsOf(*intra.packets.at(i));
                findSlice(units, codec)[which] = findSlice(others, codec)[which];
            }
            bytes += bytesOf(units);
        }
        const QString path = writeFile(folder.path(), "mixed." + codec, bytes);
        return makeWithFFmpeg(
            folder.path(), "mixed.ts",
            {"-f", codec, "-framerate", "25", "-i", path, "-c", "copy", "-bsf:v", "setts=ts=N/TB/25"});
    }

    static std::vector<std::uint32_t> doubtsOf(const QString &path)
    {
        const VideoPackets video = readVideoPackets(path);
        std::vector<std::uint32_t> doubts;
        for (const quorvale::ffmpeg::PacketPtr &packet : video.packets)
            doubts.push_back(video.scanner->scan(*packet).doubts);
        return doubts;
    }

private slots:
    void initTestCase()
    {
        const QString groups = QStringLiteral("expr:not(mod(n,%1))").arg(kGroup);
        const QString common = "bframes=0:slices=2:qp=30:weightp=0";
        const QStringList h264{"-c:v", "libx264", "-preset", "ultrafast", "-force_key_frames", groups, "-x264-params"};
        const QString h264Common = common + ":keyint=infinite:min-keyint=10000";
        encodings["h264"].inter = make("h264-inter.ts", kFrames, h264 + QStringList{h264Common + ":scenecut=0"});
        // Every picture is taken for the first one of a scene, and too near to a key picture to be one.
        encodings["h264"].intra =
            make("h264-intra.ts", kMixed + 5, h264 + QStringList{h264Common + ":scenecut=100000"});

        const QStringList hevc{"-c:v",
                               "libx265",
                               "-preset",
                               "ultrafast",
                               "-x265-params",
                               common + QStringLiteral(":keyint=%1:min-keyint=%1:scenecut=0:open-gop=0").arg(kGroup) +
                                   ":log-level=none"};
        encodings["hevc"].inter = make("hevc-inter.ts", kFrames, hevc);
        encodings["hevc"].intra =
            make("hevc-intra.ts", kMixed + 5,
                 hevc + QStringList{"-force_key_frames", QStringLiteral("expr:eq(n,%1)").arg(kMixed)});
        for (const Encodings &codec : std::as_const(encodings))
            QVERIFY(!codec.inter.isEmpty() && !codec.intra.isEmpty());
    }

    void aPictureThatIsPartlyI_isDecoded_data()
    {
        QTest::addColumn<QString>("codec");
        QTest::addColumn<int>("slice");
        QTest::newRow("H.264, the upper part") << "h264" << 0;
        QTest::newRow("H.264, the lower part") << "h264" << 1;
        QTest::newRow("HEVC, the upper part") << "hevc" << 0;
        QTest::newRow("HEVC, the lower part") << "hevc" << 1;
    }
    void aPictureThatIsPartlyI_isDecoded()
    {
        QFETCH(const QString, codec);
        QFETCH(const int, slice);
        const SkipComparison whole = compareSkipping(encodings[codec].inter, kTargets);
        QCOMPARE(whole.difference, QString());
        QCOMPARE(whole.counters.flushes, 2);

        const QString path = mixed(codec, slice);
        std::vector<std::uint32_t> expected(kFrames, 0);
        expected[kMixed] = kTableRowUnclear;
        QCOMPARE(doubtsOf(path), expected);

        const SkipComparison result = compareSkipping(path, kTargets);
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.delivered, 2);
        // All from the first target on to the picture in question, and behind it a new proof; then the rest is skipped.
        QVERIFY(result.counters.picturesDecoded > whole.counters.picturesDecoded + kMixed - kTargets.first());
        QVERIFY(result.counters.picturesSkipped > kTargets.last() / 3);
        QCOMPARE(result.counters.flushes, 2);
        QCOMPARE(result.counters.fullFallbacks, 0);
    }
};

QTEST_GUILESS_MAIN(TestSkipAheadMixedSlices)
#include "tst_skipahead_mixedslices.moc"
