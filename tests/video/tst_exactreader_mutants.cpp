#include "tests/support/mutantset.h"
#include "tests/support/testclass.h"
#include "tests/video/exactcomparison.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr int kFrames = 220;

using transportmutant::Kind;

// Seeds of mutants.
using Seeds = QVector<int>;

// Some damage changes what the decoder does without a trace in the packets: no transport packet is lost, no time and no
// picture order count is wrong. An example is a damaged slice header in a picture that is not decoded: the decoder
// would have delivered one picture less.
bool canHide(Kind kind)
{
    return kind == Kind::BitsFlipped || kind == Kind::PictureHeadersDamaged || kind == Kind::BytesBurst ||
           kind == Kind::ZeroedRun;
}

// What is known of the mutants with seeds 1 to 2,500, and exactly so. Of further seeds nothing is known: any difference
// is news.
struct Pins
{
    const char *made; ///< see MutantSet::made()
    Seeds different;  ///< have a picture that is not the right one
    Seeds unopened;   ///< are not opened by FFVideo, besides those that are empty
};
const Pins kPins[] = {
    {"59.37 3165fa0a", {}, {931}}, // FFmpeg 5.1, Debian 12
    {"61.19 93d9979a", {}, {931}}, // FFmpeg 7.1, Debian 13
    {"63.1 9895881c", {}, {931}},  // FFmpeg 9.0, Debian unstable in November 2026
};
// With other versions of FFmpeg or of an encoder damage hits other bits. Of 2,500 mutants, at most so many:
constexpr int kMostDifferent = 1;
constexpr int kMostUnopened = 2;
// With any version, since it depends on what was in memory before:
constexpr int kMostUnrepeatable = 3;

QByteArray textOf(const Seeds &seeds)
{
    QByteArray text;
    for (const int seed : seeds)
        text += ' ' + QByteArray::number(seed);
    return text;
}

} // namespace

/// Damaged recordings, read exactly and by decoding everything: single pictures in any order, and five that were
/// announced, as a scanner does it. QUORVALE_MUTANTS says how many, QUORVALE_MUTANT_SEED which.
class TestExactReaderMutants : public QObject
{
    Q_OBJECT

private:
    // What was found out in one way of reading.
    struct Tally
    {
        int delivered = 0;
        int refused = 0;
        int unrepeatable = 0;
        std::int64_t decoded = 0;

        void add(const ExactComparison &result)
        {
            delivered += result.delivered + result.pastEnd;
            refused += result.refused;
            unrepeatable += result.unrepeatable;
            decoded += result.counters.picturesDecoded;
        }
        void report(const char *way) const
        {
            qInfo("%s: %d answers, %d refusals, %lld pictures decoded, %d that no two readers agree on", way, delivered,
                  refused, static_cast<long long>(decoded), unrepeatable);
        }
    };

    QTemporaryDir folder;
    MutantSet mutantSet;

    void add(const QString &fileName, const QStringList &encoder, bool interlaced = false, bool sound = false)
    {
        QVERIFY2(mutantSet.add(folder.path(), {fileName, encoder, kFrames, {160, 128}, {1, 1}, interlaced, sound}),
                 qPrintable(fileName));
    }

    // Close to each other: a picture that is refused takes the announced ones before it along.
    static QVector<int> announced(std::uint64_t seed)
    {
        const int first = 30 + int(seed % 6) * 25;
        return everyNth(first, first + 40, 8);
    }

private slots:
    void initTestCase()
    {
        const QStringList mpeg2{"-c:v", "mpeg2video", "-q:v", "3", "-g", "12"};
        const QStringList h264{"-c:v", "libx264", "-preset", "veryfast", "-g", "16", "-bf", "2"};
        const QStringList hevc{"-c:v", "libx265", "-preset", "ultrafast", "-x265-params"};
        add("mpeg2.ts", mpeg2);
        add("mpeg2-b.ts", mpeg2 + QStringList{"-bf", "2", "-c:a", "mp2"}, true, true);
        add("h264-closed.ts", h264 + QStringList{"-x264-params", "open-gop=0", "-c:a", "aac"}, false, true);
        add("h264-open.ts", h264 + QStringList{"-bf", "4", "-x264-params", "open-gop=1:b-pyramid=normal"});
        add("h264-slices.ts", h264 + QStringList{"-x264-params", "slices=3:tff=1"}, true);
        add("hevc-closed.ts", hevc + QStringList{"keyint=16:open-gop=0:bframes=2:log-level=none"});
        add("hevc-open.ts", hevc + QStringList{"keyint=16:open-gop=1:bframes=4:b-pyramid=1:log-level=none"});
    }

    void everything_isTheSame_inDamagedRecordings()
    {
        const int mutants = numberFromEnvironment("QUORVALE_MUTANTS", 1000);
        const auto firstSeed = std::uint64_t(numberFromEnvironment("QUORVALE_MUTANT_SEED", 1));
        const QVector<int> targets = {20, 45, 46, 80, 110, 111, 150, 190, 205};
        Tally single;
        Tally ahead;
        Seeds different;
        Seeds visible; // of these, by damage that packets show
        Seeds unrepeatable;
        Seeds unopened;
        for (int i = 0; i < mutants; ++i) {
            const std::uint64_t seed = firstSeed + std::uint64_t(i);
            const MutantSet::Mutant mutant = mutantSet.write(folder.path(), seed);
            const LiteralPictures literal(mutant.path, 208); // after what is asked for
            if (!literal.isOpen()) {
                if (mutant.kind != Kind::Emptied)
                    unopened.append(int(seed));
                continue;
            }
            const ExactComparison one =
                compareExactly(literal, shuffled(targets, unsigned(seed)), {}, int(targets.size()));
            const ExactComparison five = compareExactly(literal, announced(seed), 2, int(targets.size()));
            single.add(one);
            ahead.add(five);
            if (one.unrepeatable + five.unrepeatable > 0)
                unrepeatable.append(int(seed));
            if (one.difference.isEmpty() && five.difference.isEmpty())
                continue;
            different.append(int(seed));
            if (!canHide(mutant.kind))
                visible.append(int(seed));
            qWarning("base %d, %s, seed %llu: one by one: %s; announced: %s", mutant.base,
                     transportmutant::nameOf(mutant.kind), static_cast<unsigned long long>(seed),
                     qPrintable(one.difference), qPrintable(five.difference));
        }
        single.report("one by one");
        ahead.report("announced");
        qInfo("%s: different%s; unrepeatable%s; unopened%s", mutantSet.made().constData(),
              textOf(different).constData(), textOf(unrepeatable).constData(), textOf(unopened).constData());
        if (mutants >= 500) // The comparison is of something.
            QVERIFY(single.delivered > 3 * mutants && ahead.delivered > mutants);
        QCOMPARE(visible, Seeds());
        QVERIFY(unrepeatable.size() <= kMostUnrepeatable);
        const auto pins =
            std::find_if(std::begin(kPins), std::end(kPins), [&](const Pins &p) { return mutantSet.made() == p.made; });
        if (pins == std::end(kPins)) {
            QVERIFY(different.size() <= kMostDifferent);
            QVERIFY(unopened.size() <= kMostUnopened);
            return;
        }
        const auto ofThese = [&](Seeds seeds) {
            const auto end = std::remove_if(seeds.begin(), seeds.end(), [&](int seed) {
                return std::uint64_t(seed) < firstSeed || std::uint64_t(seed) >= firstSeed + std::uint64_t(mutants);
            });
            seeds.erase(end, seeds.end());
            return seeds;
        };
        QCOMPARE(different, ofThese(pins->different));
        QCOMPARE(unopened, ofThese(pins->unopened));
    }
};

TEST_CLASS(TestExactReaderMutants, QCoreApplication)
#include "tst_exactreader_mutants.moc"
