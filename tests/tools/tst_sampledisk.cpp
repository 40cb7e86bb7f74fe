#include "tests/support/files.h"
#include "tests/tools/decodedluma.h"
#include "tests/tools/probe.h"

#include <QtTest>

namespace {

constexpr int kLength = 60;
constexpr int kRecordings = 14; // the built-in ones and two further episodes
constexpr int kBlock = 32768;

struct Run
{
    int status = -1;
    QByteArray output;
    QByteArray errors;
};

Run run(const QStringList &arguments, const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
{
    QProcess program;
    program.setProcessEnvironment(environment);
    program.start(QUORVALE_SAMPLEDISK, arguments);
    program.waitForFinished(100000);
    const int status = program.exitStatus() == QProcess::NormalExit ? program.exitCode() : -1;
    return {status, program.readAllStandardOutput(), program.readAllStandardError()};
}

Run makeDisk(const QString &dir, int recordings, int length)
{
    return run({"--recordings", QString::number(recordings), "--length", QString::number(length), dir});
}

/// Also makes the folders on the way.
bool placeFile(const QString &path, const QByteArray &bytes)
{
    return QDir().mkpath(QFileInfo(path).path()) && writeFile(path, bytes);
}

/// Every file below a folder with its size and the time of its last change.
QMap<QString, QString> listing(const QString &dir)
{
    QMap<QString, QString> files;
    QDirIterator iterator(dir, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (iterator.hasNext()) {
        const QFileInfo file(iterator.next());
        files[QDir(dir).relativeFilePath(file.filePath())] =
            QString::number(file.size()) + ' ' + file.lastModified().toString(Qt::ISODateWithMs);
    }
    return files;
}

} // namespace

class TestSampleDisk : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QDate m_today;
    QByteArray m_index;

    QString disk() const { return m_dir.filePath("disk"); }
    QString volume() const { return disk() + "/RECORDER"; }
    QString stream(int number, const QString &extension = ".ts") const
    {
        return QString("%1/DVR/RECS/REC_%2%3").arg(volume()).arg(number, 4, 10, QChar('0')).arg(extension);
    }
    /// Bytes of a record, counted from 1.
    QByteArray field(int record, int offset, int size) const { return m_index.mid(record * kBlock + offset, size); }
    QByteArray text(int record, int offset, int size) const { return field(record, offset, size).constData(); }
    int byte(int record, int offset) const { return static_cast<unsigned char>(m_index[record * kBlock + offset]); }
    QDate date(int record) const
    {
        return {byte(record, 2) * 256 + byte(record, 3), byte(record, 4) + 1, byte(record, 5) + 1};
    }

private slots:
    void initTestCase()
    {
        do { // again when midnight passed meanwhile
            m_today = QDate::currentDate();
            const Run made = makeDisk(disk(), kRecordings, kLength);
            QVERIFY2(made.status == 0, made.errors);
            QVERIFY2(made.output.endsWith("The sample disk is ready: " + disk().toUtf8() + '\n') ||
                         made.output.contains("its dates were renewed"),
                     made.output);
        } while (m_today != QDate::currentDate());
        m_index = readFile(volume() + "/DVR/RECSINFO/RECS.INF");
        QCOMPARE(m_index.size(), (kRecordings + 1) * kBlock);
    }

    void disk_holdsTheFilesOfARecorder_andNothingUnfinished()
    {
        QStringList expected{"RECORDER/.quorvale-sampledisk", "RECORDER/DVR/RECSINFO/RECS.INF"};
        for (int number = 1; number <= kRecordings; ++number)
            if (number != 8) // the one whose file is missing
                expected << QDir(disk()).relativeFilePath(stream(number));
        expected << QDir(disk()).relativeFilePath(stream(6, ".ts1"))
                 << QDir(disk()).relativeFilePath(stream(6, ".ts2"));
        expected.sort();
        QCOMPARE(QStringList(listing(disk()).keys()), expected);
    }

    void index_hasARecordForEveryProgramme()
    {
        QCOMPARE(m_index.left(3), QByteArray(3, '\0'));
        for (int record = 1; record <= kRecordings; ++record) {
            QCOMPARE(field(record, 0, 3), QByteArray::fromHex("520107"));
            QVERIFY(date(record).isValid());
            QVERIFY(byte(record, 6) < 24 && byte(record, 7) < 60 && byte(record, 8) < 60);
            QCOMPARE(text(record, 13, 30), QString("REC_%1").arg(record, 4, 10, QChar('0')).toUtf8());
            for (const int offset : {43, 1067, 2091}) {
                const QByteArray value = text(record, offset, 1024);
                QVERIFY(!value.isEmpty() && value.size() < 1024);
                QCOMPARE(QString::fromUtf8(value).toUtf8(), value);
            }
        }
        QCOMPARE(text(1, 43, 1024), QByteArray("Lakeside One HD"));
        QCOMPARE(text(3, 1067, 1024), QByteArray("Die Brücke über den Fluß"));
        QVERIFY(text(3, 2091, 1024).contains("<b>"));
        QCOMPARE(text(14, 1067, 1024), text(2, 1067, 1024) + ", episode 2");
    }

    void index_datesProgrammes_todayYesterdayThisWeekAndLastYear()
    {
        QCOMPARE(date(1), m_today);
        QCOMPARE(date(3), m_today.addDays(-1));
        QCOMPARE(date(6), m_today.addDays(-3));
        QCOMPARE(date(9), m_today.addDays(-16));
        QCOMPARE(date(11), QDate(m_today.year() - 1, 12, 24));
        QCOMPARE(field(3, 6, 3), QByteArray("\x14\x0F\0", 3));   // 20:15:00
        QCOMPARE(field(5, 6, 3), QByteArray("\x13\x3A\x1E", 3)); // 19:58:30
    }

    void index_holdsPlayPositions_withAndWithoutTheMarker()
    {
        QCOMPARE(field(1, 16390, 3), QByteArray("j\x13\x0B", 3)); // 2835 seconds
        QCOMPARE(field(2, 16390, 3), QByteArray(3, '\0'));
        QCOMPARE(field(3, 16390, 3), QByteArray("j\0\0", 3));
        QCOMPARE(field(12, 16390, 3), QByteArray("j\xFF\xFF", 3));
    }

    void pictures_haveTheFormatOfTheirKind_data()
    {
        QTest::addColumn<int>("number");
        QTest::addColumn<QByteArray>("codec");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QByteArray>("sampleAspect");
        QTest::addColumn<bool>("interlaced");
        QTest::addColumn<QByteArray>("sound");
        const auto add = [](const char *name, int number, const char *codec, QSize size, const char *sampleAspect,
                            bool interlaced, const char *sound) {
            QTest::newRow(name) << number << QByteArray(codec) << size << QByteArray(sampleAspect) << interlaced
                                << QByteArray(sound);
        };
        add("H.264 HD", 1, "h264", {1440, 1080}, "4:3", true, "ac3");
        add("MPEG-2", 3, "mpeg2video", {720, 576}, "64:45", true, "mp2");
        add("HEVC", 4, "hevc", {1280, 720}, "1:1", false, "aac");
        add("H.264 full HD", 5, "h264", {1920, 1080}, "1:1", true, "ac3");
        add("H.264 with wide samples", 9, "h264", {720, 576}, "16:11", true, "mp2");
        add("a further episode", 13, "h264", {1440, 1080}, "4:3", true, "ac3");
    }
    void pictures_haveTheFormatOfTheirKind()
    {
        QFETCH(const int, number);
        QFETCH(const QByteArray, codec);
        QFETCH(const QSize, size);
        QFETCH(const QByteArray, sampleAspect);
        QFETCH(const bool, interlaced);
        QFETCH(const QByteArray, sound);
        const auto video = probeStream(stream(number), "v:0");
        QCOMPARE(video.value("codec_name"), codec);
        QCOMPARE(video.value("width").toInt(), size.width());
        QCOMPARE(video.value("height").toInt(), size.height());
        QCOMPARE(video.value("sample_aspect_ratio"), sampleAspect);
        QCOMPARE(video.value("r_frame_rate"), QByteArray("25/1"));
        QCOMPARE(video.value("field_order") == "tt", interlaced); // top field first
        QCOMPARE(probeStream(stream(number), "a:0").value("codec_name"), sound);

        const QByteArray flags =
            ffprobe(stream(number), {"-select_streams", "v:0", "-show_entries", "frame=interlaced_frame"});
        QCOMPARE(flags.count(interlaced ? "interlaced_frame=1" : "interlaced_frame=0"), kLength);
        QCOMPARE(decodedNumbers(stream(number), size.width(), size.height()), consecutiveNumbers(0, kLength));
    }

    void radio_hasSoundAlone()
    {
        QVERIFY(probeStream(stream(2), "v:0").isEmpty());
        QVERIFY(readFile(stream(2)) != readFile(stream(12))); // another tone
        const auto sound = probeStream(stream(2), "a:0");
        QCOMPARE(sound.value("codec_name"), QByteArray("mp2"));
        const auto packets = ffprobe(stream(2), {"-show_entries", "packet=size"}).count("size=");
        const int expected = kLength * 48000 / 25 / 1152; // each holds 1152 samples
        QVERIFY2(packets >= expected && packets <= expected + 2, QByteArray::number(packets));
    }

    void splitRecording_isOneStream_cutBetweenPackets()
    {
        QByteArray whole;
        for (const char *extension : {".ts", ".ts1", ".ts2"}) {
            const QByteArray piece = readFile(stream(6, extension));
            QVERIFY(piece.size() > 0);
            QCOMPARE(piece.size() % 188, 0);
            QCOMPARE(piece[0], 'G');
            whole += piece;
        }
        const QString path = m_dir.filePath("whole.ts");
        QVERIFY(placeFile(path, whole));
        QCOMPARE(decodedNumbers(path, 720, 576), consecutiveNumbers(0, kLength));
        QVERIFY(decodedNumbers(stream(6), 720, 576).size() < std::size_t(kLength));
    }

    void damagedRecording_opensAndStartsWell_butHasErrors()
    {
        const auto video = probeStream(stream(7), "v:0");
        QCOMPARE(video.value("codec_name"), QByteArray("h264"));
        auto numbers = decodedNumbers(stream(7), 720, 576);
        QVERIFY(numbers.size() > 10);
        QVERIFY(numbers != consecutiveNumbers(0, kLength));
        numbers.resize(10);
        QCOMPARE(numbers, consecutiveNumbers(0, 10));
        QVERIFY(QFileInfo(stream(7)).size() % 188 != 0);
    }

    void run_keepsEverything_theSecondTime()
    {
        const auto before = listing(disk());
        const Run again = makeDisk(disk(), kRecordings, kLength);
        QCOMPARE(again.status, 0);
        QCOMPARE(again.output, "The sample disk is there already: " + disk().toUtf8() + '\n');
        QCOMPARE(again.errors, QByteArray());
        QCOMPARE(listing(disk()), before);
    }

    void run_rewritesTheIndexAlone_onAnotherDay()
    {
        const QString indexPath = volume() + "/DVR/RECSINFO/RECS.INF";
        const QString stampPath = volume() + "/.quorvale-sampledisk";
        QByteArray stamp = readFile(stampPath);
        const auto day = stamp.indexOf("day ") + 4;
        stamp.replace(day, 10, "2001-02-03");
        QVERIFY(placeFile(stampPath, stamp));
        QVERIFY(placeFile(indexPath, QByteArray(m_index.size(), 'x')));
        auto before = listing(disk());

        const Run again = makeDisk(disk(), kRecordings, kLength);
        QCOMPARE(again.status, 0);
        QCOMPARE(again.output, "The sample disk was there already; its dates were renewed: " + disk().toUtf8() + '\n');
        const QByteArray renewed = readFile(indexPath);
        if (QDate::currentDate() == m_today)
            QCOMPARE(renewed, m_index);
        QCOMPARE(renewed.mid(kBlock, 3), QByteArray::fromHex("520107"));
        auto after = listing(disk());
        for (const char *name : {"RECORDER/.quorvale-sampledisk", "RECORDER/DVR/RECSINFO/RECS.INF"}) {
            before.remove(name);
            after.remove(name);
        }
        QCOMPARE(after, before);
        QVERIFY(makeDisk(disk(), kRecordings, kLength).output.startsWith("The sample disk is there already"));
    }

    void run_writesADiskAnew_withOtherOptionsOrAMissingFile_andKeepsForeignFiles()
    {
        const QTemporaryDir dir;
        const QString recs = dir.filePath("RECORDER/DVR/RECS/");
        QVERIFY(placeFile(dir.filePath("notes.txt"), "a neighbour"));
        QCOMPARE(makeDisk(dir.path(), 3, 10).status, 0);
        QVERIFY(placeFile(recs + "holiday.ts", "not ours"));
        QVERIFY(placeFile(dir.filePath("RECORDER/DVR/RECSINFO/OTHER.INF"), "not ours"));

        QCOMPARE(makeDisk(dir.path(), 2, 10).status, 0);
        QCOMPARE(QDir(recs).entryList(QDir::Files, QDir::Name),
                 (QStringList{"REC_0001.ts", "REC_0002.ts", "holiday.ts"}));
        QCOMPARE(readFile(recs + "holiday.ts"), QByteArray("not ours"));
        QCOMPARE(readFile(dir.filePath("RECORDER/DVR/RECSINFO/OTHER.INF")), QByteArray("not ours"));
        QCOMPARE(readFile(dir.filePath("notes.txt")), QByteArray("a neighbour"));
        QCOMPARE(QFileInfo(dir.filePath("RECORDER/DVR/RECSINFO/RECS.INF")).size(), qint64(3 * kBlock));

        QVERIFY(QFile::remove(recs + "REC_0002.ts"));
        const Run repaired = makeDisk(dir.path(), 2, 10);
        QVERIFY(repaired.output.contains("The sample disk is ready"));
        QVERIFY(QFile::exists(recs + "REC_0002.ts"));
    }

    void run_refuses_whenAForeignFileIsInTheWay()
    {
        const QTemporaryDir dir;
        QCOMPARE(makeDisk(dir.path(), 1, 10).status, 0);
        QVERIFY(placeFile(dir.filePath("RECORDER/DVR/RECS/REC_0002.ts"), "not ours"));
        const auto before = listing(dir.path());
        const Run refused = makeDisk(dir.path(), 2, 10);
        QCOMPARE(refused.status, 1);
        QVERIFY2(refused.errors.contains("REC_0002.ts is in the way and was not written by this program"),
                 refused.errors);
        QCOMPARE(listing(dir.path()), before);
    }

    void run_refuses_whenTheVolumeIsSomeoneElses()
    {
        const QTemporaryDir dir;
        QVERIFY(placeFile(dir.filePath("RECORDER/DVR/RECSINFO/RECS.INF"), "a real recorder's"));
        QVERIFY(placeFile(dir.filePath("RECORDER/.quorvale-sampledisk"), "another 2\nfile 17 DVR/RECSINFO/RECS.INF"));
        const auto before = listing(dir.path());
        const Run refused = makeDisk(dir.path(), 1, 10);
        QCOMPARE(refused.status, 1);
        QVERIFY2(refused.errors.contains("RECORDER is there already and was not made by this program"), refused.errors);
        QCOMPARE(listing(dir.path()), before);
    }

    void run_takesAVolume_thatHoldsNothingButItsOwnUnfinishedStamp()
    {
        const QTemporaryDir dir;
        QVERIFY(placeFile(dir.filePath("RECORDER/.quorvale-sampledisk.part"), "quorvale"));
        const Run made = makeDisk(dir.path(), 1, 10);
        QVERIFY2(made.status == 0, made.errors);
        QVERIFY(!QFile::exists(dir.filePath("RECORDER/.quorvale-sampledisk.part")));
    }

    void run_removesNothingOutsideTheRecordersFolder_whateverTheStampSays()
    {
        const QTemporaryDir dir;
        QVERIFY(placeFile(dir.filePath("precious.txt"), "precious") && QDir(dir.path()).mkpath("RECORDER/DVR"));
        QVERIFY(placeFile(dir.filePath("RECORDER/.quorvale-sampledisk"),
                          "quorvale-sampledisk 1\nfile 8 ../precious.txt\nfile 8 DVR/../../precious.txt\nfile 8 " +
                              dir.filePath("precious.txt").toUtf8() + "\nfile 8 DVR/\n"));
        QCOMPARE(makeDisk(dir.path(), 1, 10).status, 0);
        QCOMPARE(readFile(dir.filePath("precious.txt")), QByteArray("precious"));
    }

    void run_leavesNoDisk_whenItIsKilled_andTheNextRunCompletesIt()
    {
        const QTemporaryDir dir;
        QProcess program;
        // After the first of three recordings: the third one, 2000 pictures, cannot be finished then.
        program.start(QUORVALE_SAMPLEDISK, {"--recordings", "3", "--length", "2000", dir.path()});
        QVERIFY(program.waitForReadyRead(100000));
        program.kill();
        QVERIFY(program.waitForFinished());
        QVERIFY(!QFile::exists(dir.filePath("RECORDER/DVR/RECSINFO/RECS.INF")));
        QVERIFY(!QFile::exists(dir.filePath("RECORDER/DVR/RECS/REC_0003.ts")));

        const Run next = makeDisk(dir.path(), 2, 10);
        QVERIFY2(next.status == 0, next.errors);
        QCOMPARE(QStringList(listing(dir.path()).keys()),
                 (QStringList{"RECORDER/.quorvale-sampledisk", "RECORDER/DVR/RECS/REC_0001.ts",
                              "RECORDER/DVR/RECS/REC_0002.ts", "RECORDER/DVR/RECSINFO/RECS.INF"}));
        QCOMPARE(decodedNumbers(dir.filePath("RECORDER/DVR/RECS/REC_0001.ts"), 1440, 1080), consecutiveNumbers(0, 10));
    }

    void run_failsAndLeavesNoDisk_withoutTheFFmpegProgram()
    {
        const QTemporaryDir dir;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("PATH", "/nonexistent");
        const Run failed = run({dir.filePath("disk")}, environment);
        QCOMPARE(failed.status, 1);
        QVERIFY2(failed.errors.contains("cannot start the ffmpeg program: "), failed.errors);
        QVERIFY(!QFile::exists(dir.filePath("disk/RECORDER/DVR/RECSINFO/RECS.INF")));
    }

    void run_fails_whenTheDirectoryCannotBeMade()
    {
        const QTemporaryDir dir;
        QVERIFY(placeFile(dir.filePath("file"), "a file"));
        const Run failed = makeDisk(dir.filePath("file"), 1, 10);
        QCOMPARE(failed.status, 1);
        QVERIFY2(failed.errors.startsWith("quorvale-sampledisk: "), failed.errors);
        QCOMPARE(readFile(dir.filePath("file")), QByteArray("a file"));
    }

    void run_explainsItself_forHelpAndForAWrongCommandLine()
    {
        const Run help = run({"--help"});
        QCOMPARE(help.status, 0);
        QVERIFY(help.output.startsWith("Usage: quorvale-sampledisk [--recordings N] [--length FRAMES] DIR\n"));
        for (const auto &arguments : {QStringList{}, QStringList{"--length"}, QStringList{"--what", "dir"}}) {
            const Run wrong = run(arguments);
            QCOMPARE(wrong.status, 2);
            QVERIFY(wrong.errors.startsWith("quorvale-sampledisk: "));
            QVERIFY(wrong.errors.endsWith("Try \"quorvale-sampledisk --help\".\n"));
            QCOMPARE(wrong.output, QByteArray());
        }
    }
};

QTEST_GUILESS_MAIN(TestSampleDisk)
#include "tst_sampledisk.moc"
