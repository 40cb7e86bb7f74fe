#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "tests/video/exactcomparison.h"
#include "video/ffmpeg/compat.h"
#include "video/ffvideo.h"

#include <stdexcept>

namespace {

constexpr int kDeepFrom = 80; // From here on there are B pictures that refer to B pictures,
constexpr int kDeepEnd = 120; // up to here. Elsewhere no B picture fits into a group.

// The bits of a unit's beginning, where there is no byte yet that only prevents a start code.
class Bits
{
public:
    explicit Bits(QByteArray &of)
        : bytes(of)
    {
    }

    void skip(int count) { at += count; }
    bool bit()
    {
        const bool value = (bytes.at(byte()) & mask()) != 0;
        ++at;
        return value;
    }
    // In Exp-Golomb code: as many bits after the first one that is set as there are zeros before it.
    unsigned number()
    {
        int zeros = 0;
        while (!bit())
            ++zeros;
        unsigned value = 1;
        for (; zeros > 0; --zeros)
            value = value * 2 + unsigned(bit());
        return value - 1;
    }
    void clearBit()
    {
        bytes[byte()] = char(bytes.at(byte()) & ~mask());
        ++at;
    }
    // The last bit of a unit is set; zeros after it do not belong to it.
    void endHere()
    {
        const int last = byte();
        bytes[last] = char((bytes.at(last) & ~(2 * mask() - 1)) | mask());
        for (int i = last + 1; i < bytes.size(); ++i)
            bytes[i] = 0;
    }

private:
    [[nodiscard]] int byte() const
    {
        if (at / 8 >= bytes.size())
            throw std::runtime_error("the unit is too short");
        return at / 8;
    }
    [[nodiscard]] int mask() const { return 0x80 >> at % 8; }

    QByteArray &bytes;
    int at = 0;
};

// An H.264 sequence parameter set of the main profile, without the part at its end that says how far pictures are
// reordered; as long as before. Empty if it is another one.
QByteArray withoutReorderingDepth(QByteArray set)
{
    Bits bits(set);
    bits.skip(4 * 8); // the unit's header, profile, constraints, level
    bits.number();    // of the set
    bits.number();    // length of frame numbers
    const bool orderInSlices = bits.number() == 0;
    bits.number(); // length of the order
    bits.number(); // reference pictures
    bits.bit();    // gaps in frame numbers are allowed
    bits.number(); // width
    bits.number(); // height
    const bool framesOnly = bits.bit();
    if (!orderInSlices || !framesOnly)
        return {};
    bits.bit();       // motion vectors of the smallest blocks
    if (bits.bit()) { // cropping
        for (int side = 0; side < 4; ++side)
            bits.number();
    }
    bits.clearBit();
    bits.endHere();
    return set;
}

} // namespace

/// A recording in which pictures are reordered deeper from some place on. A decoder that was not told drops pictures
/// until it has adapted: the packets are sound, but there are fewer pictures.
class TestExactReaderReordering : public QObject
{
    Q_OBJECT

private:
    static constexpr int kFrames = 260;
    inline static const QVector<int> kTargets = {60, 200};

    QTemporaryDir folder;
    QString announced; // in the sequence parameter set
    QString sudden;

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
        QVERIFY(told.Open(QFile::encodeName(announced).constData(), false, FFVideo::FF_ACCESS_READ));
        QVERIFY(video.Open(QFile::encodeName(sudden).constData(), true, FFVideo::FF_ACCESS_READ));
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
        QVERIFY2(result.counters.picturesDecoded < 180, qPrintable(QString::number(result.counters.picturesDecoded)));
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
};

TEST_CLASS(TestExactReaderReordering, QCoreApplication)
#include "tst_exactreader_reordering.moc"
