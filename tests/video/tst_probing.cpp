#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/pointers.h"
#include "video/ffmpeg/probing.h"
#include "video/ffmpeg/singleinput.h"

using namespace quorvale;

namespace {

ffmpeg::InputPtr openInput(const QString &path)
{
    AVFormatContext *input = nullptr;
    const bool opened = ffmpeg::openSingleInput(input, QFile::encodeName(path).constData());
    return ffmpeg::InputPtr(opened ? input : nullptr);
}

ffmpeg::InputPtr openProbed(const QString &path)
{
    AVFormatContext *input = nullptr;
    const bool opened = ffmpeg::openProbed(input, QFile::encodeName(path).constData());
    ffmpeg::InputPtr owner(input);
    return opened ? std::move(owner) : nullptr;
}

QString text(const AVRational &value)
{
    return QStringLiteral("%1/%2").arg(value.num).arg(value.den);
}

// What a reader can know of a stream from probing.
QStringList factsOf(const AVStream &stream)
{
    const AVCodecParameters &parameters = *stream.codecpar;
    QStringList facts;
    for (const qint64 fact :
         {qint64(parameters.codec_type),  qint64(parameters.codec_id),    qint64(parameters.codec_tag),
          qint64(parameters.format),      qint64(parameters.bit_rate),    qint64(parameters.profile),
          qint64(parameters.level),       qint64(parameters.width),       qint64(parameters.height),
          qint64(parameters.field_order), qint64(parameters.color_range), qint64(parameters.color_primaries),
          qint64(parameters.color_trc),   qint64(parameters.color_space), qint64(parameters.chroma_location),
          qint64(parameters.video_delay), qint64(parameters.sample_rate), qint64(parameters.frame_size),
          qint64(stream.start_time),      qint64(stream.duration),        qint64(stream.nb_frames),
          qint64(stream.disposition)})
        facts.append(QString::number(fact));
    for (const AVRational &fact : {parameters.sample_aspect_ratio, stream.time_base, stream.r_frame_rate,
                                   stream.avg_frame_rate, stream.sample_aspect_ratio})
        facts.append(text(fact));
    facts.append(QByteArray(reinterpret_cast<const char *>(parameters.extradata), parameters.extradata_size).toHex());
    return facts;
}

} // namespace

/// That probing finds out the same, although it decodes pictures without their samples.
class TestProbing : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;

    QString made(const QString &name, const QStringList &encoder, bool interlaced) const
    {
        TestStream stream{name, encoder, 30};
        stream.interlaced = interlaced;
        stream.sound = true;
        return makeStream(folder.path(), stream);
    }

private slots:
    void initTestCase() { ffmpeg::registerLibraries(); }

    void probing_findsTheSame_asFFmpegsOwnWithoutOptions_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("MPEG-2") << made("mpeg2.ts", {"-c:v", "mpeg2video", "-bf", "2", "-c:a", "mp2"}, true);
        QTest::newRow("H.264") << made("h264.ts", {"-c:v", "libx264", "-bf", "3", "-x264-params", "tff=1"}, true);
        QTest::newRow("HEVC") << made("hevc.ts", {"-c:v", "libx265", "-x265-params", "log-level=none"}, false);
        QTest::newRow("MPEG-4") << made("mpeg4.avi", {"-c:v", "mpeg4", "-bf", "2"}, false);
        QTest::newRow("VP8") << made("vp8.webm", {"-c:v", "libvpx", "-deadline", "realtime", "-c:a", "libopus"}, false);
        for (const char *name : {"mpeg2-704x576i-16x11-subs.ts", "h264-1080i-ac3.ts", "h264-576i-16x11-eac3.ts",
                                 "h264-1080i5994-dirtystart-mp2.ts", "hevc-main10-360p-12s.ts", "akiyo-x265.265"}) {
            if (const auto path = samplePath(name))
                QTest::newRow(name) << *path;
        }
    }
    void probing_findsTheSame_asFFmpegsOwnWithoutOptions()
    {
        QFETCH(const QString, path);
        QVERIFY(!path.isEmpty());
        const ffmpeg::InputPtr here = openProbed(path);
        const ffmpeg::InputPtr plain = openInput(path);
        QVERIFY(here && plain);
        QVERIFY(avformat_find_stream_info(plain.get(), nullptr) >= 0);
        QCOMPARE(here->nb_streams, plain->nb_streams);
        QVERIFY(here->nb_streams > 0);
        QCOMPARE(here->duration, plain->duration);
        for (unsigned index = 0; index < here->nb_streams; ++index)
            QCOMPARE(factsOf(*here->streams[index]), factsOf(*plain->streams[index]));
    }

    // With the pictures of two such streams FFmpeg's decoders could take more than there is for them.
    void probing_describesTheStreamThatIsRead_whereOthersAreNotDecoded()
    {
        const QString path = makeWithFFmpeg(folder.path(), "two.ts",
                                            words("-f lavfi -i testsrc2=s=1920x1088:r=25:d=1 "
                                                  "-f lavfi -i testsrc2=s=1920x1088:r=25:d=1 "
                                                  "-map 0 -map 1 -c:v libx264 -preset ultrafast -bf 2 "
                                                  "-x264-params tff=1:colormatrix=bt709 -vf setsar=4/3"));
        QVERIFY(!path.isEmpty());
        const ffmpeg::InputPtr here = openProbed(path);
        const ffmpeg::InputPtr plain = openInput(path);
        QVERIFY(here && plain);
        QVERIFY(avformat_find_stream_info(plain.get(), nullptr) >= 0);
        QCOMPARE(here->nb_streams, 2U);
        const AVCodec *codec = nullptr;
        const int best = ffmpeg::findBestStream(plain.get(), AVMEDIA_TYPE_VIDEO, codec);
        QCOMPARE(ffmpeg::findBestStream(here.get(), AVMEDIA_TYPE_VIDEO, codec), best);
        QVERIFY(best >= 0);
        QCOMPARE(here->streams[1 - best]->codecpar->format, -1); // no decoder has looked at it
        const AVCodecParameters &seen = *here->streams[best]->codecpar;
        const AVCodecParameters &known = *plain->streams[best]->codecpar;
        QCOMPARE(seen.width, known.width);
        QCOMPARE(seen.height, known.height);
        QCOMPARE(seen.format, known.format);
        QCOMPARE(seen.profile, known.profile);
        QCOMPARE(seen.field_order, known.field_order);
        QCOMPARE(seen.color_space, known.color_space);
        QCOMPARE(text(seen.sample_aspect_ratio), text(known.sample_aspect_ratio));
        QCOMPARE(text(here->streams[best]->r_frame_rate), text(plain->streams[best]->r_frame_rate));
        QCOMPARE(here->duration, plain->duration);
    }
};

TEST_CLASS(TestProbing, QCoreApplication)
#include "tst_probing.moc"
