#include "tests/support/testclass.h"
#include "tools/testpicture/numberedstream.h"

#include "tests/support/files.h"
#include "tests/tools/decodedluma.h"
#include "tests/tools/probe.h"

using namespace quorvale;

using Arguments = std::vector<std::string>;
Q_DECLARE_METATYPE(NumberedStream)

namespace {

constexpr int kPictures = 40;

NumberedStream streamAt(const QString &path, int frames, Arguments encoder)
{
    NumberedStream stream;
    stream.path = path.toStdString();
    stream.frames = frames;
    stream.encoderArguments = std::move(encoder);
    return stream;
}

} // namespace

class TestNumberedStream : public QObject
{
    Q_OBJECT

private slots:
    void encode_keepsEveryNumberReadable_data()
    {
        QTest::addColumn<NumberedStream>("stream");
        const auto add = [](const char *name, PictureFormat picture, Arguments encoder) {
            encoder.insert(encoder.end(), {"-f", "mpegts"});
            NumberedStream stream = streamAt({}, kPictures, std::move(encoder));
            stream.picture = picture;
            stream.firstNumber = 65520; // the number wraps in the middle
            QTest::newRow(name) << stream;
        };
        const PictureFormat progressive{416, 234, ChromaFormat::Yuv420, false};
        const PictureFormat interlaced{720, 576, ChromaFormat::Yuv420, true};
        const PictureFormat chroma422{720, 576, ChromaFormat::Yuv422, true};
        add("MPEG-2", progressive, {"-c:v", "mpeg2video", "-bf", "2", "-g", "12", "-b:v", "1M"});
        add("MPEG-2 interlaced", interlaced, {"-c:v", "mpeg2video", "-bf", "2", "-g", "12", "-b:v", "4M"});
        add("MPEG-2 4:2:2", chroma422, {"-c:v", "mpeg2video", "-bf", "2", "-g", "12", "-b:v", "8M"});
        add("H.264", progressive, {"-c:v", "libx264", "-preset", "veryfast", "-crf", "28"});
        add("H.264 interlaced", interlaced, {"-c:v", "libx264", "-preset", "veryfast", "-crf", "28"});
        add("H.264 4:2:2", chroma422, {"-c:v", "libx264", "-preset", "veryfast", "-crf", "28"});
        add("HEVC", progressive, {"-c:v", "libx265", "-preset", "ultrafast", "-x265-params", "log-level=error"});
    }
    void encode_keepsEveryNumberReadable()
    {
        QFETCH(NumberedStream, stream);
        const QTemporaryDir dir;
        const QString path = dir.filePath("stream.ts");
        stream.path = path.toStdString();
        const auto result = encodeNumberedStream(stream);
        QVERIFY2(result.ok(), result.errors.c_str());

        auto expected = consecutiveNumbers(stream.firstNumber, kPictures);
        for (auto &number : expected)
            number = *number & 0xFFFF;
        QCOMPARE(decodedNumbers(path, stream.picture.width, stream.picture.height), expected);
        QCOMPARE(decodedNumbers(path, 160, 90, "scale=160:90"), expected);
        QCOMPARE(decodedNumbers(path, 218, 120, "scale=218:120"), expected);
    }

    void encode_writesBPictures_betweenPictures()
    {
        const QTemporaryDir dir;
        NumberedStream stream =
            streamAt(dir.filePath("stream.ts"), 50, {"-c:v", "libx264", "-preset", "veryfast", "-f", "mpegts"});
        stream.picture = {416, 234, ChromaFormat::Yuv420, false};
        QVERIFY(encodeNumberedStream(stream).ok());
        const QByteArray types = ffprobe(dir.filePath("stream.ts"), {"-show_entries", "frame=pict_type"});
        QVERIFY2(types.count("=I") >= 1 && types.count("=P") > 5 && types.count("=B") > 5, types);
    }

    void encode_makesWhatTheStreamAsksFor()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath("a strange: name.ts");
        NumberedStream stream = streamAt(path, 45, {"-c:v", "mpeg2video", "-b:v", "4M", "-c:a", "mp2", "-f", "mpegts"});
        stream.picture = {704, 576, ChromaFormat::Yuv420, true};
        stream.fpsNumerator = 30000;
        stream.fpsDenominator = 1001;
        stream.sarNumerator = 16;
        stream.sarDenominator = 11;
        stream.toneFrequency = 440;
        const auto result = encodeNumberedStream(stream);
        QVERIFY2(result.ok(), result.errors.c_str());

        const QString file = "file:" + path;
        const auto video = probeStream(file, "v:0");
        QCOMPARE(video.value("codec_name"), QByteArray("mpeg2video"));
        QCOMPARE(video.value("width"), QByteArray("704"));
        QCOMPARE(video.value("height"), QByteArray("576"));
        QCOMPARE(video.value("sample_aspect_ratio"), QByteArray("16:11"));
        QCOMPARE(video.value("field_order"), QByteArray("tt"));
        QCOMPARE(video.value("r_frame_rate"), QByteArray("30000/1001"));
        const auto audio = probeStream(file, "a:0");
        QCOMPARE(audio.value("codec_name"), QByteArray("mp2"));
        QCOMPARE(audio.value("sample_rate"), QByteArray("48000"));
        QCOMPARE(audio.value("channels"), QByteArray("2"));
        QVERIFY2(qAbs(audio.value("duration").toDouble() - 1.5015) < 0.05, audio.value("duration")); // two MP2 frames
        QCOMPARE(decodedNumbers(file, 704, 576), consecutiveNumbers(0, 45));
    }

    void encode_isTheSame_everyTime()
    {
        const QTemporaryDir dir;
        QByteArray first;
        for (const char *name : {"a.ts", "b.ts"}) {
            NumberedStream stream = streamAt(dir.filePath(name), 20, {"-c:v", "mpeg2video", "-f", "mpegts"});
            stream.picture = {352, 288, ChromaFormat::Yuv420, true};
            QVERIFY(encodeNumberedStream(stream).ok());
            const QByteArray bytes = readFile(dir.filePath(name));
            QVERIFY(!bytes.isEmpty());
            if (first.isEmpty())
                first = bytes;
            QCOMPARE(bytes, first);
        }
    }

    void encode_fails_withTheProgramsMessage_whenTheEncoderDoesNotExist()
    {
        const QTemporaryDir dir;
        const auto result =
            encodeNumberedStream(streamAt(dir.filePath("stream.ts"), 500, {"-c:v", "no-such-encoder", "-f", "mpegts"}));
        QVERIFY(!result.ok());
        QVERIFY2(result.errors.find("no-such-encoder") != std::string::npos, result.errors.c_str());
    }
};

TEST_CLASS(TestNumberedStream, QCoreApplication)
#include "tst_numberedstream.moc"
