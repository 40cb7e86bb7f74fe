#include "tests/support/bitwriter.h"
#include "tests/support/openvideo.h"
#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "tests/video/exactcomparison.h"
#include "tests/video/h264syntax.h"
#include "video/ffmpeg/compat.h"

#include <bitset>
#include <string>

namespace {

constexpr int kDeepFrom = 80; // From here on there are B pictures that refer to B pictures,
constexpr int kDeepEnd = 120; // up to here. Elsewhere no B picture fits into a group.

// An H.264 sequence parameter set of the main profile, without the part at its end that says how far pictures are
// reordered; as long as before. Empty if it is another one.
QByteArray withoutReorderingDepth(const QByteArray &set)
{
    std::string bits;
    for (const char byte : set)
        bits += std::bitset<8>(static_cast<unsigned char>(byte)).to_string();
    std::size_t at = std::size_t{4} * 8; // after the unit's header, profile, constraints, level
    const auto number = [&] {            // in Exp-Golomb code
        const std::size_t zeros = bits.find('1', at) - at;
        at += 2 * zeros + 1;
        return std::stoul(bits.substr(at - zeros - 1, zeros + 1), nullptr, 2) - 1;
    };
    number(); // of the set
    number(); // length of frame numbers
    const bool orderInSlices = number() == 0;
    number();                                 // length of the order
    number();                                 // reference pictures
    ++at;                                     // gaps in frame numbers are allowed
    number();                                 // width
    number();                                 // height
    if (!orderInSlices || bits.at(at) == '0') // fields
        return {};
    at += 2;                    // motion vectors of the smallest blocks
    if (bits.at(at++) == '1') { // cropping
        for (int side = 0; side < 4; ++side)
            number();
    }
    BitWriter changed; // the part is not there, and the last bit of a unit is set
    for (const char bit : bits.substr(0, at) + "01")
        changed.flag(bit == '1');
    return changed.padded().leftJustified(set.size(), '\0');
}

} // namespace

/// A recording in which pictures are reordered deeper from some place on. A decoder that was not told drops pictures
/// until it has adapted: the packets are sound, but there are fewer pictures.
class TestExactReaderReordering : public QObject
{
    Q_OBJECT

public:
    enum class Rare { Unreferred, BInOrder, BReordered, UnreferredRecovery };
    Q_ENUM(Rare)

private:
    static constexpr int kFrames = 260;
    inline static const QVector<int> kTargets = {60, 200};

    QTemporaryDir folder;
    QString announced; // in the sequence parameter set
    QString sudden;

    static QByteArray rareStructure(Rare rare)
    {
        using h264syntax::Slice;
        const bool recovers = rare == Rare::UnreferredRecovery;
        h264syntax::Sps sps;
        sps.log2MaxPicOrderCntLsbMinus4 = 8;
        sps.log2MaxFrameNumMinus4 = 8;
        sps.maxNumReorderFrames = recovers ? std::optional(1U) : std::nullopt;
        const h264syntax::Pps pps;
        QByteArray bytes;
        Slice slice;
        for (int i = 0; i < kFrames; ++i) {
            const bool isKey = i % 20 == 0;
            slice.idr = isKey && (i == 0 || !recovers || i > 160);
            slice.frameNum = slice.idr ? 0 : slice.frameNum + (slice.refIdc != 0 ? 1 : 0);
            slice.idrPicId = std::uint32_t(i / 20 % 2);
            slice.type = isKey ? Slice::I : i == 70 && !recovers && rare != Rare::Unreferred ? Slice::B : Slice::P;
            const bool isSecond = rare == Rare::BReordered && i == 166; // shown before the one before it
            slice.refIdc = slice.type == Slice::B || isSecond || (rare == Rare::Unreferred && i % 2 != 0) ||
                                   (recovers && isKey && !slice.idr)
                               ? 0
                               : 1;
            slice.picOrderCntLsb = std::uint32_t(2 * (recovers && i < 180 ? i : i % 20) - (isSecond ? 3 : 0));
            if (isKey)
                bytes += sps.write() + pps.write();
            if (isKey && !slice.idr)
                bytes += QByteArray("\0\0\1\x06\x06\x01\xC4\x80", 8);
            bytes += slice.write(sps, pps);
        }
        return bytes;
    }

private slots:
    void initTestCase()
    {
        const QString keyPictures =
            QStringLiteral("expr:not(mod(n,if(between(n,%1,%2),20,2)))").arg(kDeepFrom).arg(kDeepEnd - 1);
        const QStringList encoder =
            words("-c:v libx264 -preset ultrafast -force_key_frames " + keyPictures +
                  " -x264-params bframes=3:b-pyramid=normal:b-adapt=0:ref=4:keyint=infinite:scenecut=0");
        announced = makeStream(folder.path(), {"announced.ts", encoder, kFrames, {160, 128}});

        QByteArray bytes = readFile(announced);
        const int begin = int(bytes.indexOf(QByteArray("\0\0\1\x67", 4))) + 3;
        const int end = int(bytes.indexOf(QByteArray("\0\0\1", 3), begin));
        QVERIFY(begin >= 3 && end > begin);
        const QByteArray set = bytes.mid(begin, end - begin);
        const QByteArray changed = withoutReorderingDepth(set);
        QCOMPARE(changed.size(), set.size());
        bytes.replace(set, changed);
        sudden = writeFile(folder.path(), "sudden.ts", bytes);
    }

    void theDecoder_dropsPicturesUntilItHasAdapted()
    {
        // What the other tests rest on.
        FFVideo told;
        FFVideo video;
        QVERIFY(open(told, announced, false));
        QVERIFY(open(video, sudden));
        QVERIFY(!video.GetFramesUntilComplete(kDeepFrom));
        QCOMPARE(video.videoCodec->has_b_frames, 0);
        QVERIFY(video.GetFramesUntilComplete(kFrames));
        QCOMPARE(video.videoCodec->has_b_frames, told.videoCodec->has_b_frames);
        QVERIFY(video.frameCount < told.frameCount);
    }

    void deepReordering_isSkipped_whereItIsAnnounced()
    {
        const ExactComparison result = compareExactly(announced, kTargets);
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.delivered, 2);
        QCOMPARE(result.counters.runs, 2);
        QCOMPARE(result.refused, 0);
    }

    void deepReordering_isBridged_whereItIsSudden()
    {
        const ExactComparison result = compareExactly(sudden, {kTargets.last()});
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.delivered, 1);
        QVERIFY(result.counters.picturesDecoded < 180);
        QCOMPARE(result.counters.runs, 2);
        QCOMPARE(result.refused, 0);
    }

    void picturesInSuddenDeepReorderingAndAfterIt_areTheSame_data()
    {
        QTest::addColumn<QVector<int>>("targets");
        QTest::newRow("in its first group") << QVector<int>{kDeepFrom + 15};
        QTest::newRow("in a later one") << QVector<int>{kDeepFrom + 30};
        QTest::newRow("after a skip, in it") << QVector<int>{60, kDeepFrom + 20};
        QTest::newRow("after a skip, after it") << QVector<int>{60, kDeepEnd + 10};
        QTest::newRow("after a skip, far after it") << kTargets;
    }
    void picturesInSuddenDeepReorderingAndAfterIt_areTheSame()
    {
        QFETCH(const QVector<int>, targets);
        const ExactComparison result = compareExactly(sudden, targets);
        QCOMPARE(result.difference, QString());
        // What lies in it is refused.
        const bool isInside = targets.last() >= kDeepFrom && targets.last() < kDeepEnd + 20;
        QCOMPARE(result.delivered, int(targets.size()) - (isInside ? 1 : 0));
    }

    void theEnd_isNotTheEarlier_whereLessIsReorderedThanBefore()
    {
        QByteArray bytes;
        for (const char *parameters : {"bframes=4", "bframes=0"})
            bytes += readFile(makeStream(
                folder.path(),
                {"part.ts",
                 words("-c:v libx265 -preset ultrafast -x265-params keyint=20:log-level=none:" + QString(parameters)),
                 kFrames,
                 {160, 128}}));
        const LiteralPictures joined(writeFile(folder.path(), "joined.ts", bytes));
        // FFmpeg 5.1 delivers fewer than there are.
        QCOMPARE(compareExactly(joined, {2 * kFrames - 40, joined.count()}).difference, QString());
    }

    // What H.264 allows and encoders rarely do. The pictures are grey: how many there are tells what is wrong.
    void rareStructures_areCountedAsTheDecoderDoes_data()
    {
        QTest::addColumn<Rare>("rare");
        QTest::addColumn<QVector<int>>("targets");
        QTest::newRow("pictures that no other one refers to") << Rare::Unreferred << QVector<int>{150, kFrames - 1};
        QTest::newRow("B slices in order") << Rare::BInOrder << QVector<int>{kFrames - 1};
        QTest::newRow("B slices in order, then reordered") << Rare::BReordered << QVector<int>{kFrames - 2};
        QTest::newRow("recovery at a picture that no other one refers to")
            << Rare::UnreferredRecovery << QVector<int>{kFrames - 2};
    }
    void rareStructures_areCountedAsTheDecoderDoes()
    {
        QFETCH(const Rare, rare);
        QFETCH(const QVector<int>, targets);
        const QString raw = writeFile(folder.path(), "rare.h264", rareStructure(rare));
        const QString path = makeWithFFmpeg(folder.path(), "rare.ts",
                                            {"-f", "h264", "-i", raw, "-c", "copy",
                                             "-bsf:v", // a gap of three pictures; two in the other order
                                             QStringLiteral("setts=dts='(N+%1)/25/TB':pts='(N+%1+2+%2)/25/TB'")
                                                 .arg(rare == Rare::UnreferredRecovery ? "3*gt(N,155)" : "0",
                                                      rare == Rare::BReordered ? "eq(N,165)-eq(N,166)" : "0")});
        const ExactComparison result = compareExactly(LiteralPictures(path), targets);
        QCOMPARE(result.difference, QString());
    }
};

TEST_CLASS(TestExactReaderReordering, QCoreApplication)
#include "tst_exactreader_reordering.moc"
