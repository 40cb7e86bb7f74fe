// A thousand broken recordings: the scanner ends on each, with the right signals and with bounded work. Work is
// counted, not timed.
//
// By default every sixth is tried; QUORVALE_LONG_TESTS=1 tries them all, and real captures broken in the same ways.
// The most that any of them took is printed at the end.

#include "tests/support/decoderwork.h"
#include "tests/support/faultydisk.h"
#include "tests/support/processfacts.h"
#include "tests/support/sanitized.h"
#include "tests/support/teststreams.h"
#include "tests/support/transportmutant.h"
#include "thumbs/thumbnailscanner.h"

#include <QApplication>
#include <QtTest>

#include <algorithm>
#include <vector>

using transportmutant::Bytes;
using transportmutant::Kind;

namespace {

constexpr std::uint64_t kSeedsPerKind = 12; // times 18 kinds times 5 streams: 1,080 recordings
constexpr std::uint64_t kShare = 6;
constexpr std::uint64_t kSeedsPerCapture = 2;

// The bounds of a scan's work. A picture takes at least one packet of the transport stream, so a scan that decodes more
// often than there are packets has gone back far too often; probing adds a few. Bytes are read several times: for
// probing, at the file's end for its duration, for the pictures, and again if a recording ends before the wanted
// picture.
constexpr double kDecodingsPerPacket = 1;
constexpr double kFewDecodings = 100;
constexpr double kReadingsPerByte = 12;
constexpr double kFewBytes = 1024 * 1024;

// Memory of the process, libraries and pixmaps included. AddressSanitizer keeps freed memory for a while.
constexpr qint64 kMostResidentKiB = (kIsSanitized ? 1024 : 192) * 1024;

struct Base
{
    QByteArray name;
    Bytes bytes;
};

bool isLong()
{
    return !qEnvironmentVariableIsEmpty("QUORVALE_LONG_TESTS");
}

Bytes bytesOf(const QString &path)
{
    const QByteArray content = readFile(path);
    return Bytes(content.begin(), content.end());
}

// The largest of many figures, and whose it is.
struct Most
{
    double figure = 0;
    QByteArray of;

    void note(double another, const QByteArray &whose)
    {
        if (another > figure) {
            figure = another;
            of = whose;
        }
    }
};

// The results of one scan of one file.
struct Outcome
{
    bool finished = false;
    int series = 0;
    int missing = 0;
    int pictures = 0; // in the series
    bool paired = true;
    decoderwork::Counts work;
    std::int64_t bytesRead = 0;
};

} // namespace

class TestBrokenRecordings : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        const auto add = [&](const char *name, const QStringList &encoder, bool interlaced) {
            const QString path =
                makeStream(dir.path(), {QString(name) + ".ts", encoder, 320, {96, 64}, {1, 1}, interlaced, true});
            QVERIFY(!path.isEmpty());
            bases.push_back({name, bytesOf(path)});
        };
        add("mpeg2", {"-c:v", "mpeg2video", "-q:v", "12", "-g", "15", "-bf", "2"}, false);
        add("mpeg2-fields", {"-c:v", "mpeg2video", "-q:v", "12", "-g", "12", "-flags", "+ildct+ilme"}, true);
        add("h264", {"-c:v", "libx264", "-preset", "veryfast", "-g", "25", "-bf", "3"}, false);
        add("h264-intra", {"-c:v", "libx264", "-preset", "ultrafast", "-g", "1"}, false);
        add("hevc", {"-c:v", "libx265", "-preset", "ultrafast", "-x265-params", "log-level=none:keyint=25"}, false);
        firstCapture = bases.size();
        if (!isLong())
            return;
        for (const char *name :
             {"bd-1080i-5s.m2ts", "h264-1080i5994-dirtystart-mp2.ts", "h264-576i-16x11-eac3.ts",
              "hevc-main10-360p-12s.ts", "mpeg2-704x576i-16x11-subs.ts", "radio-mp2-12s-damaged.ts"}) {
            if (const auto path = samplePath(name))
                bases.push_back({name, bytesOf(*path)});
        }
    }

    void scan_endsWithinItsBound_onEveryMutant_data()
    {
        QTest::addColumn<int>("base");
        QTest::addColumn<int>("kind");
        for (std::size_t base = 0; base < bases.size(); ++base) {
            for (const Kind kind : transportmutant::kAllKinds)
                QTest::addRow("%s, %s", bases[base].name.constData(), transportmutant::nameOf(kind))
                    << int(base) << int(kind);
        }
    }
    void scan_endsWithinItsBound_onEveryMutant()
    {
        QFETCH(int, base);
        QFETCH(int, kind);
        const std::uint64_t step = isLong() ? 1 : kShare;
        const std::uint64_t seeds = std::size_t(base) < firstCapture ? kSeedsPerKind : kSeedsPerCapture;
        const Bytes &other = bases[(std::size_t(base) + 1) % bases.size()].bytes;
        for (std::uint64_t seed = 0; seed < seeds; seed += step) {
            const Bytes mutant = transportmutant::mutate(bases[std::size_t(base)].bytes, Kind(kind), seed, other);
            check(QByteArray(reinterpret_cast<const char *>(mutant.data()), int(mutant.size())),
                  QByteArray(QTest::currentDataTag()) + ", seed " + QByteArray::number(qulonglong(seed)));
            if (QTest::currentTestFailed())
                return;
        }
    }

    void scan_endsWithinItsBound_onTheWholeStreams()
    {
        for (const Base &base : bases)
            check(QByteArray(reinterpret_cast<const char *>(base.bytes.data()), int(base.bytes.size())), base.name);
    }

    void cleanupTestCase()
    {
        qInfo("%ld recordings; at most %.2f decodings a transport packet (%s), %.2f readings a byte (%s), %lld MiB of "
              "memory",
              scanned, decodingsSeen.figure, decodingsSeen.of.constData(), readingsSeen.figure,
              readingsSeen.of.constData(), static_cast<long long>(processfacts::mostResidentKiB() / 1024));
        QVERIFY(processfacts::mostResidentKiB() < kMostResidentKiB);
    }

private:
    Outcome scan(const QByteArray &content) const
    {
        const QString path = writeFile(dir.path(), "broken.ts", content);
        Outcome outcome;
        ThumbnailScanner scanner;
        scanner.files = QStringList{path};
        connect(&scanner, &ThumbnailScanner::gotThumbs, &scanner,
                [&](const QString &, const QVector<QPixmap *> &small, const QVector<QPixmap *> &large) {
                    ++outcome.series;
                    outcome.pictures = int(small.size());
                    outcome.paired = small.size() == large.size();
                    qDeleteAll(small);
                    qDeleteAll(large);
                });
        connect(&scanner, &ThumbnailScanner::missingVideo, &scanner, [&] { ++outcome.missing; });
        connect(&scanner, &ThumbnailScanner::finished, &scanner, [&] { outcome.finished = true; });
        const faultydisk::Watch watch(path.toStdString());
        decoderwork::reset();
        for (int call = 0; call < 2; ++call) // the file, and the end
            scanner.process();
        outcome.work = decoderwork::counts();
        outcome.bytesRead = watch.onMainThread().bytesRead;
        return outcome;
    }

    void check(const QByteArray &content, const QByteArray &what)
    {
        const Outcome outcome = scan(content);
        ++scanned;
        QVERIFY2(outcome.finished, what);
        QCOMPARE(outcome.series + outcome.missing, 1);
        QVERIFY2(outcome.paired, what);
        QVERIFY2(outcome.pictures <= 5, what);

        const double size = std::max(1.0, double(content.size()));
        const double packets = std::max(1.0, size / transportmutant::kPacketSize);
        const double decodings = double(outcome.work.packets) / packets;
        const double readings = double(outcome.bytesRead) / size;
        QVERIFY2(decodings <= kDecodingsPerPacket + kFewDecodings / packets,
                 what + ' ' + QByteArray::number(decodings));
        QVERIFY2(readings <= kReadingsPerByte + kFewBytes / size, what + ' ' + QByteArray::number(readings));
        QVERIFY2(outcome.work.pictures <= 2 * outcome.work.packets + 2, what); // fields may come out one by one
        decodingsSeen.note(decodings, what);
        readingsSeen.note(readings, what);
    }

    const QTemporaryDir dir;
    std::vector<Base> bases;
    std::size_t firstCapture = 0;
    long scanned = 0;
    Most decodingsSeen;
    Most readingsSeen;
};

QTEST_MAIN(TestBrokenRecordings)
#include "tst_brokenrecordings.moc"
