#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "tests/video/exactcomparison.h"

/// What recordings are kept in besides transport streams: containers with an index, where a picture is found again by
/// its time and known by its bytes.
class TestExactReaderContainers : public QObject
{
    Q_OBJECT

private:
    static constexpr int kFrames = 330;

    QTemporaryDir folder;
    QMap<QString, QString> streams; // by codec

    void add(const QString &codec, const QStringList &encoder)
    {
        streams[codec] = makeStream(folder.path(), {codec + ".ts", encoder, kFrames, {160, 128}});
        QVERIFY(!streams[codec].isEmpty());
    }

    // The stream of that codec as it is, in another container.
    QString wrapped(const QString &codec, const QString &suffix)
    {
        return makeWithFFmpeg(folder.path(), codec + "." + suffix, {"-i", streams[codec], "-c", "copy"});
    }

private slots:
    void initTestCase()
    {
        add("mpeg2", {"-c:v", "mpeg2video", "-q:v", "4", "-g", "12", "-bf", "2"});
        add("h264", {"-c:v", "libx264", "-preset", "veryfast", "-g", "24", "-bf", "2"});
        add("hevc", {"-c:v", "libx265", "-preset", "ultrafast", "-x265-params", "keyint=24:log-level=none"});
    }

    void picturesAreTheSame_inAnyOrder_data()
    {
        QTest::addColumn<QString>("codec");
        QTest::addColumn<QString>("container");
        for (const char *container : {"avi", "mkv", "mp4", "mov", "mxf", "nut", "wtv", "m2v"})
            QTest::addRow("MPEG-2, %s", container) << QString("mpeg2") << QString(container);
        // With start codes and display times.
        QTest::newRow("H.264, nut") << QString("h264") << QString("nut");
        QTest::newRow("HEVC, nut") << QString("hevc") << QString("nut");
    }
    void picturesAreTheSame_inAnyOrder()
    {
        QFETCH(const QString, codec);
        QFETCH(const QString, container);
        const LiteralPictures pictures(wrapped(codec, container));
        QVERIFY(pictures.isOpen());
        const QVector<int> targets =
            everyNth(0, pictures.count(), 15) + everyNth(pictures.count() - 3, pictures.count() + 9, 2);
        for (const QVector<int> &order : {targets, backwards(targets), shuffled(targets, 3)}) {
            const ExactComparison result = compareExactly(pictures, order);
            QCOMPARE(result.difference, QString());
            QCOMPARE(result.refused, 0);
        }
        const ExactComparison two = compareExactly(pictures, {150, 300});
        QCOMPARE(two.difference, QString());
        QCOMPARE(two.counters.runs, 2);
        QVERIFY2(two.counters.picturesDecoded <= 70, qPrintable(QString::number(two.counters.picturesDecoded)));
    }

    void picturesOfOneSizeWithoutTimes_areToldApart()
    {
        // Flat ones of a few bytes: many share a PES packet, which has a time for its first.
        const LiteralPictures pictures(makeWithFFmpeg(
            folder.path(), "flat.vob",
            words(
                "-f lavfi -i color=gray:size=32x32,geq=lum=136+mod(N\\,8):cb=128:cr=128 -frames:v 300 -c:v mpeg2video "
                "-q:v 2 -g 1 -f vob")));
        QCOMPARE(compareExactly(pictures, backwards(everyNth(4, pictures.count() + 9, 9))).difference, QString());
    }

    void withoutStartCodesOrDisplayTimes_nothingIsReadInVain_data()
    {
        QTest::addColumn<QString>("codec");
        QTest::addColumn<QString>("container");
        // One time a packet: which one it is shown at is worked out from what probing found.
        QTest::newRow("mpeg2, asf: no display times") << QStringLiteral("mpeg2") << QStringLiteral("asf");
        for (const char *codec : {"h264", "hevc"}) {
            for (const char *container : {"mp4", "mkv"})
                QTest::addRow("%s, %s: no start codes", codec, container) << QString(codec) << QString(container);
            QTest::addRow("%s, raw: no times", codec) << QString(codec) << QString(codec);
            QTest::addRow("%s, avi: no display times", codec) << QString(codec) << QStringLiteral("avi");
        }
    }
    void withoutStartCodesOrDisplayTimes_nothingIsReadInVain()
    {
        QFETCH(const QString, codec);
        QFETCH(const QString, container);
        const ExactComparison result = compareExactly(wrapped(codec, container), {150, 300});
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.refused, 2);
        QCOMPARE(result.counters.picturesDecoded, 0);
    }
};

TEST_CLASS(TestExactReaderContainers, QCoreApplication)
#include "tst_exactreader_containers.moc"
