#include "tools/sampledisk/recordingencoder.h"

#include "tests/tools/decodedluma.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <stdexcept>

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

    static QStringList filesIn(const QTemporaryDir &dir) { return QDir(dir.path()).entryList(QDir::Files, QDir::Name); }

private slots:
    void encode_writesFewerPictures_ofAShortRecording()
    {
        const QTemporaryDir dir;
        encodeRecording(recordingOf(RecordingKind::ShortHighDefinition), 300, dir.path().toStdString());
        QCOMPARE(decodedNumbers(dir.filePath("name.ts"), 160, 90, "scale=160:90"), consecutiveNumbers(0, 260));
    }

    void encode_writesEveryPicture_ofALongRecording()
    {
        const QTemporaryDir dir;
        encodeRecording(recordingOf(RecordingKind::StandardDefinition), 300, dir.path().toStdString());
        QCOMPARE(decodedNumbers(dir.filePath("name.ts"), 160, 90, "scale=160:90"), consecutiveNumbers(0, 300));
    }

    void encode_writesTheFilesOfTheKind_andNoOthers()
    {
        const auto files = [](RecordingKind kind) {
            const QTemporaryDir dir;
            encodeRecording(recordingOf(kind), 10, dir.path().toStdString());
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
            encodeRecording(recordingOf(RecordingKind::StandardDefinition), 10, dir.filePath("none").toStdString());
        } catch (const std::runtime_error &error) {
            message = error.what();
        }
        QVERIFY2(message.startsWith("ffmpeg failed with status ") && message.contains("No such file"), message);
    }
};

QTEST_GUILESS_MAIN(TestRecordingEncoder)
#include "tst_recordingencoder.moc"
