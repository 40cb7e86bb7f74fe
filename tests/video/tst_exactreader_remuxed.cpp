#include "tests/support/openvideo.h"
#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "tests/video/exactcomparison.h"

namespace {

// The byte after each occurrence of `mark`, counted from 0, from the one numbered `first` up to `end`, is changed.
void changeByteAfter(QByteArray &bytes, const QByteArray &mark, int first, int end, char (*change)(char))
{
    int number = 0;
    for (auto at = bytes.indexOf(mark); at >= 0; at = bytes.indexOf(mark, at + 1), ++number) {
        const auto place = at + mark.size();
        if (number >= first && number < end && place < bytes.size())
            bytes[place] = change(bytes.at(place));
    }
}

} // namespace

/// Recordings that were cut, joined or remuxed without a mark in the transport stream: only times, picture order counts
/// and the pictures' own headers tell. The pictures equal those of decoding everything, and the counters tell how they
/// were read.
class TestExactReaderRemuxed : public QObject
{
    Q_OBJECT

private:
    static constexpr int kFrames = 320;
    static constexpr int kGroup = 20;
    inline static const QVector<int> kTargets = {110, 260};

    QTemporaryDir folder;
    QMap<QString, QString> whole;

    void add(const QString &name, const QStringList &encoder)
    {
        whole[name] = makeStream(folder.path(), {name + ".ts", encoder, kFrames, {160, 128}});
        QVERIFY(!whole[name].isEmpty());
    }

    /// The stream `name`, its packets as they are, with what `options` make of their times and which they leave out.
    QString remuxed(const QString &name, const QStringList &options) { return remuxedFile(whole[name], options); }
    QString remuxedFile(const QString &path, const QStringList &options)
    {
        return makeWithFFmpeg(folder.path(), "remuxed.ts", QStringList{"-copyts", "-i", path, "-c", "copy"} + options);
    }

    inline static const char *const kNames[] = {"h264", "h264-open", "mpeg2", "hevc", "hevc-open"};

    // Both targets are delivered, for less than decoding everything.
    static void verifyBridged(const QString &path)
    {
        const ExactComparison result = compareExactly(path, kTargets);
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.delivered, 2);
        QVERIFY(result.counters.picturesDecoded < 220);
    }

private slots:
    void initTestCase()
    {
        const QString group = QString::number(kGroup);
        const QStringList h264{"-c:v", "libx264", "-preset",       "veryfast", "-g",          group,
                               "-bf",  "3",       "-sc_threshold", "0",        "-keyint_min", group};
        const QStringList hevc{"-c:v", "libx265", "-preset", "ultrafast", "-x265-params"};
        const QString groups = QStringLiteral("keyint=%1:min-keyint=%1:scenecut=0:bframes=3:log-level=none").arg(group);
        add("h264", h264);
        add("h264-open", h264 + QStringList{"-x264-params", "open-gop=1"});
        add("mpeg2", {"-c:v", "mpeg2video", "-q:v", "4", "-g", group, "-bf", "2", "-sc_threshold", "1000000000"});
        add("hevc", hevc + QStringList{groups + ":open-gop=0"});
        add("hevc-open", hevc + QStringList{groups + ":open-gop=1"});
    }

    void aPictureThatIsGone_orAStepOfTheDisplayTimes_isBridged_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("filter"); // of pictures in the order of decoding
        for (const char *name : kNames) {
            QTest::addRow("%s, a key picture", name) << QString(name) << "noise=drop='eq(n,180)'";
            QTest::addRow("%s, the one after it", name) << QString(name) << "noise=drop='eq(n,181)'";
            QTest::addRow("%s, a step of less than a second", name)
                << QString(name) << "setts=pts='PTS+gte(N,190)*27000':dts='DTS+gte(N,190)*27000'";
        }
    }
    void aPictureThatIsGone_orAStepOfTheDisplayTimes_isBridged()
    {
        QFETCH(const QString, name);
        QFETCH(const QString, filter);
        verifyBridged(remuxed(name, {"-bsf:v", filter}));
    }

    void aFieldThatIsGone_isBridged()
    {
        const auto fields = samplePath(QStringLiteral("h264-576i-12x11-bars.ts"));
        if (!fields)
            QSKIP("the folder with real captures is not here");
        const QVector<int> targets = {60, 195};
        const QString sound = remuxedFile(*fields, {"-map", "0:v:0"});
        const ExactComparison complete = compareExactly(sound, targets);
        QCOMPARE(complete.difference, QString());
        QCOMPARE(complete.delivered, 2);
        for (const char *drop : {"noise=drop='eq(n,240)'", "noise=drop='eq(n,241)'"}) { // the first, and the second
            const ExactComparison result =
                compareExactly(remuxedFile(*fields, {"-map", "0:v:0", "-bsf:v", drop}), targets);
            QCOMPARE(result.difference, QString());
            QCOMPARE(result.delivered + result.refused, 2); // too short for a bridge to pay
            QVERIFY(result.delivered >= 1);
            QVERIFY(result.counters.picturesDecoded < 220);
        }
    }

    void picturesWithoutDisplayTimes_areDecodedInOrder_whereTheOrderRestsOnThem_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("inOrder");
        QTest::newRow("H.264") << "h264" << true;
        QTest::newRow("HEVC") << "hevc" << true;
        QTest::newRow("MPEG-2") << "mpeg2" << false;
    }
    void picturesWithoutDisplayTimes_areDecodedInOrder_whereTheOrderRestsOnThem()
    {
        QFETCH(const QString, name);
        QFETCH(const bool, inOrder);
        const QString path = remuxed(name, {"-bsf:v", "setts=pts='if(between(N,180,200),NOPTS,PTS)'"});
        const ExactComparison result = compareExactly(path, kTargets);
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.delivered, 2);
        QCOMPARE(result.counters.runs, inOrder ? 3 : 2);
    }

    void timesThatWrap_areNoDoubt()
    {
        for (const char *name : kNames) {
            // 33 bits of 90,000 a second: they wrap about eight seconds after the start.
            const QString path = remuxed(name, {"-output_ts_offset", "95434", "-muxdelay", "0", "-muxpreload", "0"});
            const ExactComparison result = compareExactly(path, kTargets);
            QVERIFY2(result.difference.isEmpty() && result.delivered == 2, name);
            QCOMPARE(result.counters.runs, 2);
            QVERIFY(result.counters.picturesDecoded < 120);
        }
    }

    void recoveryPointsThatPromiseNothing_areEnteredAfterATest()
    {
        QByteArray bytes = readFile(whole["h264-open"]);
        const QByteArray recoveryPoint("\x06\x06\x01", 3);
        const auto before = bytes.count(recoveryPoint + '\xC4');
        QVERIFY(before > 10);
        changeByteAfter(bytes, recoveryPoint, 0, kFrames, [](char byte) { return char(byte & ~0x40); });
        QCOMPARE(bytes.count(recoveryPoint + '\x84'), before);
        const ExactComparison result = compareExactly(writeFile(folder.path(), "inexact.ts", bytes), kTargets);
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.delivered, 2);
        QCOMPARE(result.counters.runs, 3); // the test is one
        QVERIFY(result.counters.picturesDecoded < 120);
    }

    void picturesThatAreWithheld_areBridged()
    {
        QByteArray bytes = readFile(whole["hevc"]);
        // A key picture that has the decoder drop the ones that it still holds.
        const QByteArray key("\x00\x00\x01\x28\x01", 5);
        QVERIFY(bytes.count(key) >= kFrames / kGroup - 1);
        changeByteAfter(bytes, key, 9, 10, [](char byte) { return char(byte | 0x40); });
        const QString path = writeFile(folder.path(), "withheld.ts", bytes);
        verifyBridged(path);
        FFVideo altered;
        FFVideo video;
        QVERIFY(open(altered, path, false));
        QVERIFY(open(video, whole["hevc"], false));
        QVERIFY(altered.frameCount < video.frameCount);
    }

    void picturesBeforeAKeyPicture_areTheSame_whereRecordingsWereJoined()
    {
        // The second recording begins in the middle: what is decoded after its first key picture and shown before it
        // refers to pictures that are not there.
        for (const char *name : {"hevc-open", "h264-open", "mpeg2"}) {
            const QString second =
                remuxed(name, {"-bsf:v", "noise=drop='lt(n,100)',setts=pts='PTS+220*3600':dts='DTS+220*3600'"});
            const QByteArray tail = readFile(second);
            QVERIFY(tail.size() > 10000);
            const QString path = writeFile(folder.path(), "joined.ts", readFile(whole[name]) + tail);
            const ExactComparison result = compareExactly(path, {110, 290, 330, 345, 450});
            QCOMPARE(result.difference, QString());
            QVERIFY2(result.delivered >= 3, qPrintable(QString::number(result.delivered)));
        }
    }

    // Later versions of FFmpeg follow the program map table from one codec to the other, and probing has then read it
    // to the end: what FFVideo reads first is taken apart as what comes last.
    void nothingIsWrong_whereTheCodecChanges()
    {
        const QByteArray h264 = readFile(whole["h264"]);
        const QByteArray hevc = readFile(whole["hevc"]);
        for (const QByteArray &file : {h264 + hevc, hevc + h264, h264 + hevc + h264, hevc + h264 + hevc}) {
            const QString path = writeFile(folder.path(), "joined.ts", file);
            const ExactComparison result = compareExactly(path, {0, 20, 110, 290, 330, 345, 450});
            QCOMPARE(result.difference, QString());
        }
    }
};

TEST_CLASS(TestExactReaderRemuxed, QCoreApplication)
#include "tst_exactreader_remuxed.moc"
