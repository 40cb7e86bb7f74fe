#include "tests/support/testclass.h"
#include "tools/sampledisk/recordingencoder.h"

#include "tests/tools/decodedluma.h"

#include <stdexcept>

using namespace quorvale;

Q_DECLARE_METATYPE(RecordingKind)

class TestRecordingEncoder : public QObject
{
    Q_OBJECT

    static Recording recordingOf(RecordingKind kind)
    {
        Recording recording;
        recording.kind = kind;
        recording.record.fileName = "name";
        return recording;
    }

    static void encode(RecordingKind kind, int length, const QTemporaryDir &dir)
    {
        const QTemporaryDir work(dir.filePath("work")); // on the same file system
        encodeRecording(recordingOf(kind), length, work.path().toStdString(), dir.path().toStdString());
        QCOMPARE(filesIn(work), QStringList());
    }

    static QStringList filesIn(const QTemporaryDir &dir) { return QDir(dir.path()).entryList(QDir::Files, QDir::Name); }

private slots:
    void pictureCount_isLess_ofAShortRecording()
    {
        QCOMPARE(pictureCount(RecordingKind::ShortHighDefinition, 900), 260);
        QCOMPARE(pictureCount(RecordingKind::ShortHighDefinition, 100), 100);
        QCOMPARE(pictureCount(RecordingKind::StandardDefinition, 900), 900);
    }

    void encode_writesEveryPicture_data()
    {
        QTest::addColumn<RecordingKind>("kind");
        QTest::addColumn<int>("length");
        QTest::newRow("long") << RecordingKind::StandardDefinition << 300;
        QTest::newRow("one picture") << RecordingKind::Hevc << 1;
    }
    void encode_writesEveryPicture()
    {
        QFETCH(const RecordingKind, kind);
        QFETCH(const int, length);
        const QTemporaryDir dir;
        encode(kind, length, dir);
        QCOMPARE(decodedNumbers(dir.filePath("name.ts"), 160, 90, "scale=160:90"),
                 consecutiveNumbers(0, unsigned(length)));
    }

    void encode_writesTheFilesOfTheKind_andNoOthers()
    {
        const auto files = [](RecordingKind kind) {
            const QTemporaryDir dir;
            encode(kind, 10, dir);
            return filesIn(dir);
        };
        QCOMPARE(files(RecordingKind::Split), (QStringList{"name.ts", "name.ts1", "name.ts2"}));
        QCOMPARE(files(RecordingKind::Damaged), QStringList{"name.ts"});
        QCOMPARE(files(RecordingKind::Radio), QStringList{"name.ts"});
        QCOMPARE(files(RecordingKind::Missing), QStringList());
    }

    void encode_throwsTheProgramsMessage_whenTheFolderIsMissing()
    {
        const QTemporaryDir dir;
        QByteArray message;
        try {
            encodeRecording(recordingOf(RecordingKind::StandardDefinition), 10, dir.filePath("none").toStdString(),
                            dir.path().toStdString());
        } catch (const std::runtime_error &error) {
            message = error.what();
        }
        QVERIFY2(message.startsWith("ffmpeg failed with status ") && message.contains("No such file"), message);
    }
};

TEST_CLASS(TestRecordingEncoder, QCoreApplication)
#include "tst_recordingencoder.moc"
