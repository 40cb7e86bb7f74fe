#include "tests/support/teststreams.h"
#include "tests/video/exactcomparison.h"
#include "tools/loopedgroup/loopedgroup.h"
#include "tools/testpicture/ffmpegprocess.h"

#include <QtTest>

namespace {

using quorvale::LoopedGroup;
using quorvale::UnitChanges;

// One group of a capture, and what reading five pictures of the recording made of it may cost.
struct Row
{
    const char *name;
    const char *capture;
    int group;
    int pictures; ///< of the group
    bool inexact;
    int decoded;           ///< most pictures that are decoded for the five
    int decodedInAnyOrder; ///< and for every 47th
};

constexpr int kPictures = 800;

constexpr Row kRows[] = {
    {"mpeg2-576i", "mpeg2-704x576i-16x11-subs.ts", 1, 36, false, 55, 146},
    {"h264-576i-fields", "h264-576i-12x11-bars.ts", 1, 30, false, 22, 275},
    {"h264-234p", "h264-234p-61s-truncated.ts", 1, 150, false, 22, 620},
    {"h264-1080i-inexact", "h264-1080i5994-dirtystart-mp2.ts", 3, 20, true, 48, 150},
};

} // namespace

/// Long recordings out of real groups of pictures: what is read exactly is that of decoding everything, for a bounded
/// part of it.
class TestExactReaderLooped : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;

    QString loop(LoopedGroup looped, const QString &source, const QString &name)
    {
        looped.source = source.toStdString();
        looped.path = folder.filePath(name).toStdString();
        writeLoopedGroup(looped);
        return folder.filePath(name);
    }
    static QByteArray errorsOf(const QString &path)
    {
        const quorvale::ProcessEnd end = quorvale::runFFmpeg(
            {"-v", "error", "-nostdin", "-threads", "1", "-i", path.toStdString(), "-map", "0:v:0", "-f", "null", "-"});
        return end.ok() ? QByteArray::fromStdString(end.errors) : "failed";
    }

private slots:
    void groupsOfCaptures_areReadExactly_data()
    {
        QTest::addColumn<int>("index");
        for (std::size_t i = 0; i < std::size(kRows); ++i)
            QTest::newRow(kRows[i].name) << int(i);
    }
    void groupsOfCaptures_areReadExactly()
    {
        QFETCH(const int, index);
        const Row &row = kRows[index];
        const std::optional<QString> capture = samplePath(row.capture);
        if (!capture)
            QSKIP("the folder with real captures is not here");
        LoopedGroup looped;
        looped.group = row.group;
        looped.times = kPictures / row.pictures + 1;
        looped.changes.clearsExactMatch = row.inexact;
        const QString path = loop(looped, *capture, "looped.ts");
        looped.times = 4; // From the second time on all are alike.
        QCOMPARE(errorsOf(loop(looped, *capture, "short.ts")), QByteArray());

        const LiteralPictures pictures(path, 752);
        // What was made is what was meant: the same pictures, again and again.
        QCOMPARE(pictures.count(), 752);
        for (const int number : {150, 301, 452})
            QCOMPARE(pictures.picture(number + row.pictures), pictures.picture(number));
        QVERIFY(pictures.picture(301) != pictures.picture(302) || pictures.picture(302) != pictures.picture(303));

        const ExactComparison five = compareExactly(pictures, thumbnailTargets());
        QCOMPARE(five.difference, QString());
        QCOMPARE(five.delivered, 5);
        const ExactComparison any = compareExactly(pictures, shuffled(everyNth(0, 751, 47), 5));
        qInfo("%d decoded, and %d", int(five.counters.picturesDecoded), int(any.counters.picturesDecoded));
        QVERIFY(five.counters.picturesDecoded <= row.decoded);
        QVERIFY(any.counters.picturesDecoded <= row.decodedInAnyOrder);
        QCOMPARE(any.difference, QString());
        QVERIFY(row.inexact ? any.delivered >= 8 : any.refused == 0);
    }

    void forgedRecoveryPoints_areRefused_orDecodeTheSame_data()
    {
        QTest::addColumn<int>("cut");
        QTest::addColumn<int>("bPictures");
        QTest::newRow("near the start") << 20 << 3;
        QTest::newRow("after a wanted picture") << 140 << 3;
        QTest::newRow("before one that is refused") << 140 << 0;
    }
    void forgedRecoveryPoints_areRefused_orDecodeTheSame()
    {
        QFETCH(const int, cut);
        QFETCH(const int, bPictures);
        // Cuts make I pictures that are no place to begin at: those after them refer to what came before.
        const QString base = makeWithFFmpeg(
            folder.path(), "cuts.ts",
            words(QStringLiteral("-f lavfi -i testsrc2=size=160x128:rate=25:duration=13 "
                                 "-vf geq=lum='mod(lum(X\\,Y)+floor(N/%1)*97\\,219)+16':cb='cb(X\\,Y)':cr='cr(X\\,Y)' "
                                 "-c:v libx264 -preset veryfast -pix_fmt yuv420p -g 300 -keyint_min 300 -refs 4 -bf %2 "
                                 "-x264-params open-gop=1:scenecut=100")
                      .arg(cut)
                      .arg(bPictures)));
        QVERIFY(!base.isEmpty());
        LoopedGroup looped;
        looped.times = 5;
        looped.changes.forgesRecoveryPoints = true;
        const LiteralPictures pictures(loop(looped, base, "forged.ts"), 752);
        const ExactComparison result = compareExactly(pictures, everyNth(0, pictures.count(), 13));
        QCOMPARE(result.difference, QString());
        // The test fails before anything is decoded in vain; pictures that are refused are the first ones.
        const ExactComparison five = compareExactly(pictures, thumbnailTargets(), 2);
        report(five);
        QVERIFY(five.difference.isEmpty() && five.counters.picturesDecoded + 150 * five.refused <= 751 + 24);
    }
};

QTEST_GUILESS_MAIN(TestExactReaderLooped)
#include "tst_exactreader_looped.moc"
