#include "tests/support/decoderwork.h"
#include "tests/support/memorytraces.h"
#include "tests/support/mutantset.h"
#include "tests/support/openvideo.h"
#include "tests/support/picture.h"
#include "thumbs/pictureseries.h"
#include "video/ffmpeg/compat.h"

#include <QtTest>

#include <iterator>
#include <numeric>
#include <utility>

namespace {

constexpr int kThumbnails[] = {150, 300, 450, 600, 750};
constexpr double kMostRatio = 1.10; // of what reading literally decodes
constexpr int kTried = 36;          // damaged recordings, and as many that end early
constexpr int kFrames = 420;
// Tried whatever the seeds: with the encoders of Debian 12, bits flipped in groups of 250 that show in no header.
const QVector<int> kLongGroups{162, 270};

// What the five thumbnails of a recording make the decoders do, once it is open, in packets.
struct Cost
{
    long exactly = 0;
    long literally = 0;
    std::int64_t inReader = 0; // of `exactly`, pictures that the ExactReader decoded
    bool isSame = true;        // the pictures

    [[nodiscard]] double ratio() const
    {
        return literally == 0 ? double(exactly) : double(exactly) / double(literally);
    }
};

// The thumbnails, as far as `read` delivers them, and how many packets that decodes.
template <typename Read>
std::pair<QVector<QByteArray>, long> thumbnails(const FFVideo &video, const Read &read)
{
    decoderwork::reset();
    QVector<QByteArray> pictures;
    for (const int frame : kThumbnails) {
        Picture picture;
        if (!read(frame, picture))
            break;
        pictures.append(checksum(picture, video.frame->format));
    }
    return {pictures, decoderwork::counts().packets};
}

// But for pictures that show what was in memory before.
bool areSame(const QVector<QByteArray> &found, const QVector<QByteArray> &expected, const QString &path)
{
    if (found == expected || found.size() != expected.size())
        return found == expected;
    const QVector<int> traces = picturesWithTracesOfMemory(path);
    for (int i = 0; i < found.size(); ++i) {
        if (found.at(i) != expected.at(i) && !traces.contains(kThumbnails[i]))
            return false;
    }
    return true;
}

std::optional<Cost> costOf(const QString &path)
{
    FFVideo literal;
    if (!open(literal, path))
        return std::nullopt;
    const auto [expected, literally] =
        thumbnails(literal, [&](int frame, Picture &picture) { return literal.Read(frame, picture); });

    FFVideo video;
    if (!open(video, path))
        return std::nullopt;
    quorvale::PictureSeries series(video, {std::begin(kThumbnails), std::end(kThumbnails)});
    const auto [found, exactly] =
        thumbnails(video, [&](int frame, Picture &picture) { return series.read(frame, picture); });
    return Cost{exactly, literally, series.counters().picturesDecoded, areSame(found, expected, path)};
}

} // namespace

/// Thumbnails are those of reading literally, and never cost more than a little above that, counted in what is decoded.
/// QUORVALE_MUTANTS says how many damaged recordings are tried, QUORVALE_MUTANT_SEED which.
class TestPictureSeriesCost : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;
    MutantSet mutantSet;
    double worst = 0;
    QString worstName;
    QStringList different;

    void note(const QString &name, const Cost &cost)
    {
        if (qEnvironmentVariableIsSet("QUORVALE_EVERY_COST") || cost.ratio() > kMostRatio)
            qInfo("%s: %ld packets decoded instead of %ld, %.3f; %lld pictures by the reader", qPrintable(name),
                  cost.exactly, cost.literally, cost.ratio(), static_cast<long long>(cost.inReader));
        if (!cost.isSame)
            different.append(name);
        if (cost.ratio() > worst) {
            worst = cost.ratio();
            worstName = name;
        }
    }

    void checkAll()
    {
        qInfo("worst: %s, %.3f", qPrintable(worstName), worst);
        QVERIFY2(worst > 0 && worst <= kMostRatio, qPrintable(worstName));
        QCOMPARE(different, QStringList());
    }

    void add(const QString &fileName, const QStringList &encoder, bool interlaced = false, bool sound = false)
    {
        QVERIFY2(mutantSet.add(folder.path(), {fileName, encoder, kFrames, {160, 128}, {1, 1}, interlaced, sound}),
                 qPrintable(fileName));
    }

private slots:
    void initTestCase()
    {
        const QStringList mpeg2{"-c:v", "mpeg2video", "-q:v", "3", "-g", "12"};
        const QStringList h264{"-c:v", "libx264", "-preset", "veryfast", "-g", "28", "-bf", "3"};
        const QStringList hevc{"-c:v", "libx265", "-preset", "ultrafast", "-x265-params"};
        add("mpeg2-b.ts", mpeg2 + QStringList{"-bf", "2", "-c:a", "mp2"}, true, true);
        add("h264-closed.ts", h264);
        add("h264-open.ts", h264 + QStringList{"-x264-params", "open-gop=1:b-pyramid=normal"});
        add("h264-250.ts", h264 + QStringList{"-g", "250"});
        add("hevc-open.ts", hevc + QStringList{"keyint=50:open-gop=1:bframes=4:b-pyramid=1:log-level=none"});
        add("hevc-closed.ts", hevc + QStringList{"keyint=16:open-gop=0:bframes=2:log-level=none"});
    }

    void init() { worst = 0; }

    void captures()
    {
        const QDir samples = QFileInfo(samplePath("README.md").value_or(QString())).dir();
        if (!samplePath("README.md"))
            QSKIP("the folder with real captures is not here");
        for (const QString &name : samples.entryList(QDir::Files)) {
            if (const std::optional<Cost> cost = costOf(samples.filePath(name)))
                note(name, *cost);
        }
        checkAll();
    }

    // Ended early, or with one bit flipped somewhere in the middle of a packet.
    void shortAndFlippedRecordings()
    {
        const int parts = numberFromEnvironment("QUORVALE_MUTANTS", kTried) / int(mutantSet.bases().size());
        for (const transportmutant::Bytes &base : mutantSet.bases()) {
            const int index = int(&base - mutantSet.bases().data());
            for (int part = 1; part <= parts; ++part) {
                const int end = int(base.size()) / 188 * part / parts * 188;
                QByteArray bytes(reinterpret_cast<const char *>(base.data()), int(base.size()));
                bytes[end - 88] = char(bytes[end - 88] ^ 1);
                for (const QByteArray &damaged :
                     {QByteArray(reinterpret_cast<const char *>(base.data()), end), bytes}) {
                    if (const std::optional<Cost> cost = costOf(writeFile(folder.path(), "damaged.ts", damaged)))
                        note(QStringLiteral("base %1, %2 of %3").arg(index).arg(part).arg(parts), *cost);
                }
            }
        }
        checkAll();
    }

    void damagedRecordings()
    {
        QVector<int> seeds(numberFromEnvironment("QUORVALE_MUTANTS", kTried));
        std::iota(seeds.begin(), seeds.end(), numberFromEnvironment("QUORVALE_MUTANT_SEED", 1));
        for (const int seed : kLongGroups + seeds) {
            const MutantSet::Mutant mutant = mutantSet.write(folder.path(), std::uint64_t(seed));
            if (const std::optional<Cost> cost = costOf(mutant.path))
                note(QString::asprintf("base %d, %s, seed %d", int(mutant.base), nameOf(mutant.kind), seed), *cost);
        }
        qInfo("%s", mutantSet.made().constData());
        checkAll();
    }
};

QTEST_GUILESS_MAIN(TestPictureSeriesCost)
#include "tst_pictureseries_cost.moc"
