#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "tests/video/exactcomparison.h"
#include "video/exact/neededpictures.h"
#include "video/ffmpeg/compat.h"

namespace {

using namespace quorvale;

constexpr std::uint32_t kCountRange = 256;

// HEVC pictures that say what they refer to, in decode order.
class WrittenPictures
{
public:
    AccessUnit &add(std::int64_t count, const std::vector<std::int64_t> &references)
    {
        AccessUnit unit;
        unit.onePicture = true;
        unit.randomAccess = references.empty() ? RandomAccess::Cra : RandomAccess::None;
        unit.startsSequence = m_units.empty();
        unit.pictureOrderCount = count;
        unit.references = references;
        unit.referencesAreKnown = true;
        unit.isPrevTid0Pic = true;
        unit.maxPicOrderCntLsb = kCountRange;
        m_units.push_back(unit);
        return m_units.back();
    }

    /// The pictures that are needed for the last one, by their counts; "all" where nothing tells.
    [[nodiscard]] QString needed() const
    {
        PictureList pictures(90000, true);
        for (const AccessUnit &unit : m_units)
            pictures.append({0, 0, 1}, unit, {});
        NeededPictures needed(PictureIndex(), pictures.pictureEnd());
        if (!needed.leaveOutUnreached(pictures))
            return QStringLiteral("all");
        QStringList counts;
        for (PictureIndex i; i < pictures.pictureEnd(); ++i) {
            if (needed.isNeeded(i))
                counts << QString::number(pictures.picture(i).pictureOrderCount);
        }
        return counts.join(' ');
    }

private:
    std::vector<AccessUnit> m_units;
};

// I P B B P B B P B B, every P the second one after the P that it refers to
WrittenPictures twoChains()
{
    WrittenPictures stream;
    stream.add(0, {});
    stream.add(3, {0});
    stream.add(1, {0, 3});
    stream.add(6, {0});
    stream.add(4, {3, 6});
    stream.add(9, {3});
    stream.add(12, {6});
    return stream;
}

} // namespace

/// What pictures refer to, and what is decoded on the way to one of them.
class TestNeededPictures : public QObject
{
    Q_OBJECT

private slots:
    void whatIsNotReached_isLeftOut()
    {
        QCOMPARE(twoChains().needed(), QStringLiteral("0 6 12"));
        WrittenPictures stream = twoChains();
        stream.add(10, {9, 12});
        QCOMPARE(stream.needed(), QStringLiteral("0 3 6 9 12 10"));
    }

    void theEntryPointItself_isAllThatIsNeededForIt()
    {
        WrittenPictures stream;
        stream.add(0, {});
        QCOMPARE(stream.needed(), QStringLiteral("0"));
    }

    void randomAccessPointsOnTheWay_stay()
    {
        // They tell which of the pictures after them are skipped.
        WrittenPictures stream = twoChains();
        stream.add(20, {});
        stream.add(15, {12});
        QCOMPARE(stream.needed(), QStringLiteral("0 6 12 20 15"));
    }

    void everythingIsNeeded_data()
    {
        QTest::addColumn<int>("fault");
        QTest::newRow("references that are not known") << 0;
        QTest::newRow("a reference that is not there") << 1;
        QTest::newRow("more references than there can be") << 2;
        QTest::newRow("parameters on the way") << 3;
        QTest::newRow("a picture that is output before the entry point") << 4;
        QTest::newRow("another sequence without its beginning") << 5;
    }
    void everythingIsNeeded()
    {
        QFETCH(const int, fault);
        WrittenPictures stream = twoChains();
        AccessUnit &last = stream.add(15, {12});
        if (fault == 0)
            last.referencesAreKnown = false;
        else if (fault == 1)
            last.references.push_back(5);
        else if (fault == 2)
            last.references.assign(9, 12);
        else if (fault == 3)
            last.newParameters = true;
        else if (fault == 4)
            last.pictureOrderCount = -1;
        else
            last.startsSequence = true;
        QCOMPARE(stream.needed(), QStringLiteral("all"));
    }

    void countsThatCouldNotBeToldAnyMore_areKept_data()
    {
        QTest::addColumn<int>("step");
        QTest::addColumn<bool>("tells");
        QTest::newRow("just near enough") << 127 << true;
        QTest::newRow("half of what the lowest bits hold") << 128 << false;
    }
    void countsThatCouldNotBeToldAnyMore_areKept()
    {
        // Of a count only the lowest bits are coded; the rest follows from the picture before, if that was decoded.
        QFETCH(const int, step);
        QFETCH(const bool, tells);
        WrittenPictures stream;
        stream.add(0, {});
        stream.add(step / 2, {0});
        stream.add(step, {0});
        QCOMPARE(stream.needed(), tells ? QStringLiteral("0 %1").arg(step) : QStringLiteral("all"));
    }

    void picturesOfHigherSubLayers_tellNoCounts()
    {
        WrittenPictures stream;
        stream.add(0, {});
        stream.add(100, {0}).isPrevTid0Pic = false;
        stream.add(150, {100});
        QCOMPARE(stream.needed(), QStringLiteral("all"));
    }

    void streams_areReadExactly_withLessDecoding_data()
    {
        QTest::addColumn<QString>("encoder");
        QTest::addColumn<int>("decoded"); // most pictures for the five thumbnails
        constexpr bool kBySets = quorvale::ffmpeg::kNeedsWholeReferenceSets;
        const auto hevc = [](const char *name, const QString &parameters, int decoded) {
            QTest::newRow(name) << "-c:v libx265 -preset ultrafast -x265-params log-level=none:" + parameters
                                << decoded;
        };
        hevc("open groups of 50", "keyint=50:min-keyint=50:open-gop=1:bframes=4:b-pyramid=1", 23);
        hevc("open groups of 101, several references",
             "keyint=101:min-keyint=101:open-gop=1:bframes=7:b-pyramid=1:rc-lookahead=20:ref=3", kBySets ? 125 : 116);
        hevc("sub-layers", "keyint=64:min-keyint=64:temporal-layers=1:bframes=3", kBySets ? 95 : 93);
        hevc("no B", "keyint=47:min-keyint=47:open-gop=0:bframes=0:ref=3", kBySets ? 160 : 156);
        const auto avc = [](const char *name, const QString &parameters, int decoded) {
            QTest::newRow(name) << "-c:v libx264 -preset ultrafast -x264-params cabac=1:b-adapt=0:" + parameters
                                << decoded;
        };
        avc("H.264", "keyint=93:bframes=7:b-pyramid=normal", 70);
        avc("H.264, open groups", "keyint=93:open-gop=1:bframes=7:b-pyramid=strict", 70);
        avc("H.264, MBAFF and slices", "keyint=93:open-gop=1:bframes=5:b-pyramid=normal:tff=1:slices=4", 70);
        avc("H.264, many references", "keyint=93:bframes=3:b-pyramid=normal:ref=6:weightp=2", 140);
        avc("H.264, CAVLC", "keyint=93:bframes=7:b-pyramid=normal:cabac=0", 90);
    }
    void streams_areReadExactly_withLessDecoding()
    {
        QFETCH(const QString, encoder);
        QFETCH(const int, decoded);
        const QTemporaryDir folder;
        const LiteralPictures pictures(
            makeStream(folder.path(), {"made.ts", words(encoder + ":scenecut=0"), 800, {160, 128}}));
        const ExactComparison thumbnails = compareExactly(pictures, thumbnailTargets());
        QCOMPARE(thumbnails.difference, QString());
        QCOMPARE(thumbnails.delivered, 5);
        qInfo("%lld decoded", static_cast<long long>(thumbnails.counters.picturesDecoded));
        QVERIFY(thumbnails.counters.picturesDecoded <= decoded);
        const QVector<int> targets = everyNth(3, pictures.count(), 7);
        for (const QVector<int> &order : {targets, shuffled(targets, 31)}) {
            const ExactComparison result = compareExactly(pictures, order);
            QCOMPARE(result.difference, QString());
            QCOMPARE(result.refused, 0);
        }
    }
};

TEST_CLASS(TestNeededPictures, QCoreApplication)
#include "tst_neededpictures.moc"
