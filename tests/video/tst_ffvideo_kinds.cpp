// Which kinds of files are opened. Every file here has the name of a recording.

#include "tests/support/openvideo.h"
#include "tests/support/picture.h"
#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "video/ffmpeg/inputformats.h"
#include "video/ffmpeg/singleinput.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

class TestFFVideoKinds : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(dir.isValid()); }

    void open_takes_containersOfAllKinds_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QStringList>("encoder");
        QTest::newRow("transport stream") << "mpegts" << QStringList{"-c:v", "mpeg2video"};
        QTest::newRow("Blu-ray's") << "mpegts" << QStringList{"-c:v", "libx264", "-mpegts_m2ts_mode", "1"};
        QTest::newRow("program stream") << "vob" << QStringList{"-c:v", "mpeg2video"};
        QTest::newRow("MPEG-1") << "mpeg" << QStringList{"-c:v", "mpeg1video"};
        QTest::newRow("raw MPEG-2") << "mpeg2video" << QStringList{"-c:v", "mpeg2video"};
        QTest::newRow("raw H.264") << "h264" << QStringList{"-c:v", "libx264"};
        QTest::newRow("raw HEVC") << "hevc" << QStringList{"-c:v", "libx265", "-x265-params", "log-level=none"};
        QTest::newRow("MP4") << "mp4" << QStringList{"-c:v", "libx264"};
        QTest::newRow("MP4 with MPEG-4") << "mp4" << QStringList{"-c:v", "mpeg4"};
        QTest::newRow("QuickTime with PNG") << "mov" << QStringList{"-c:v", "png"};
        QTest::newRow("QuickTime with ProRes") << "mov" << QStringList{"-c:v", "prores"};
        QTest::newRow("Matroska") << "matroska" << QStringList{"-c:v", "libx264"};
        QTest::newRow("Matroska with FFV1") << "matroska" << QStringList{"-c:v", "ffv1"};
        QTest::newRow("WebM") << "webm" << QStringList{"-c:v", "libvpx"};
        QTest::newRow("AVI") << "avi" << QStringList{"-c:v", "mpeg4"};
        QTest::newRow("AVI with MJPEG") << "avi" << QStringList{"-c:v", "mjpeg"};
        QTest::newRow("AVI with HuffYUV") << "avi" << QStringList{"-c:v", "huffyuv"};
        QTest::newRow("AVI with raw pictures") << "avi" << QStringList{"-c:v", "rawvideo", "-pix_fmt", "bgr24"};
        QTest::newRow("FLV") << "flv" << QStringList{"-c:v", "flv1"};
        QTest::newRow("ASF") << "asf" << QStringList{"-c:v", "wmv2"};
        QTest::newRow("Ogg") << "ogg" << QStringList{"-c:v", "libtheora"};
        QTest::newRow("NUT") << "nut" << QStringList{"-c:v", "rawvideo"};
        QTest::newRow("MXF") << "mxf" << QStringList{"-c:v", "mpeg2video"};
        QTest::newRow("GXF") << "gxf" << QStringList{"-c:v", "mpeg2video", "-s", "720x576", "-r", "25"};
        QTest::newRow("fragmented MP4") << "mp4"
                                        << QStringList{"-c:v", "libx264", "-movflags", "frag_keyframe+empty_moov"};
        QTest::newRow("WTV") << "wtv" << QStringList{"-c:v", "mpeg2video"};
        QTest::newRow("QuickTime with animation") << "mov" << QStringList{"-c:v", "qtrle"};
        QTest::newRow("AVI with a computer's screen") << "avi" << QStringList{"-c:v", "zmbv"};
        QTest::newRow("FLV with a computer's screen") << "flv" << QStringList{"-c:v", "flashsv"};
        QTest::newRow("FLV with a computer's screen, later") << "flv" << QStringList{"-c:v", "flashsv2"};
        QTest::newRow("AVI with JPEG-LS") << "avi" << QStringList{"-c:v", "jpegls", "-pix_fmt", "bgr24"};
        QTest::newRow("YUV4MPEG2") << "yuv4mpegpipe" << QStringList{"-pix_fmt", "yuv420p"};
    }
    void open_takes_containersOfAllKinds()
    {
        const QString path = made();
        QVERIFY(!path.isEmpty());
        FFVideo video;
        QVERIFY(open(video, path));
        QFETCH(const QStringList, encoder);
        QCOMPARE(video.width, encoder.contains("720x576") ? 768 : 96);
        Picture picture;
        const bool isCopied = video.Read(1, picture);
        QVERIFY(isCopied || video.lastError == FFVideo::FF_ERROR_LAYOUT);
    }

    void open_takes_soundOfAllKinds_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QStringList>("encoder");
        QTest::newRow("MP2") << "mpegts" << QStringList{"-c:a", "mp2"};
        QTest::newRow("AC-3") << "mpegts" << QStringList{"-c:a", "ac3"};
        QTest::newRow("E-AC-3") << "mpegts" << QStringList{"-c:a", "eac3"};
        QTest::newRow("AAC") << "mpegts" << QStringList{"-c:a", "aac"};
        QTest::newRow("AAC in LATM") << "mpegts" << QStringList{"-c:a", "aac", "-mpegts_flags", "latm"};
        QTest::newRow("DTS") << "mpegts" << QStringList{"-c:a", "dca", "-strict", "-2"};
        QTest::newRow("SMPTE 302M") << "mpegts"
                                    << QStringList{"-c:a", "s302m", "-strict", "-2", "-ar", "48000", "-ac", "2"};
        QTest::newRow("Opus") << "mpegts" << QStringList{"-c:a", "libopus"};
        QTest::newRow("PCM") << "vob" << QStringList{"-c:a", "pcm_dvd", "-ar", "48000", "-ac", "2"};
        QTest::newRow("WavPack") << "matroska" << QStringList{"-c:a", "wavpack"};
    }
    void open_takes_soundOfAllKinds()
    {
        QFETCH(QString, format);
        QFETCH(QStringList, encoder);
        const QString path = makeWithFFmpeg(dir.path(), "a.ts",
                                            QStringList{"-f", "lavfi", "-i", "testsrc2=s=96x64:d=1", "-f", "lavfi",
                                                        "-i", "sine=r=48000:d=1", "-c:v", "mpeg2video"} +
                                                encoder + QStringList{"-f", format});
        QVERIFY(!path.isEmpty());
        FFVideo video;
        QVERIFY(open(video, path));
        QVERIFY(video.hasAudio && video.audioCodec);
        Picture picture;
        QVERIFY(video.Read(1, picture));
    }

    void open_takesThePictures_whereTheSoundIsNotDecoded()
    {
        const QString made = makeWithFFmpeg(dir.path(), "a.ts",
                                            {"-f", "lavfi", "-i", "testsrc2=s=96x64:d=1", "-f", "lavfi", "-i",
                                             "sine=d=1", "-c:v", "mpeg4", "-c:a", "pcm_u8", "-f", "avi"});
        QByteArray content = readFile(made);
        const int format = int(content.indexOf("strf", content.indexOf("auds"))) + 8;
        QVERIFY(format > 8);
        content.replace(format, 2, QByteArray("\x35\x01", 2)); // in the place of PCM
        const QString path = writeFile(dir.path(), "sound.ts", content);
        FFVideo video;
        QVERIFY(open(video, path));
        QCOMPARE(video.formatContext->nb_streams, 2U);
        QCOMPARE(video.formatContext->streams[1]->codecpar->codec_id, AV_CODEC_ID_ACELP_KELVIN);
        QVERIFY(!video.hasAudio && !video.audioCodec);
        QVERIFY(video.audioStream < 0);
        Picture picture;
        QVERIFY(video.Read(1, picture));
    }

    // What is lossless by FFmpeg's own word and refused is on this list, with all decoders that FFmpeg has.
    void decoders_ofAllThatIsLossless_areWanted()
    {
        static const QStringList others = {// single pictures, and animations of the web
                                           "alias_pix", "apng", "bmp", "brender_pix", "cri", "dds", "dpx", "exr",
                                           "fits", "gif", "jpegxl", "jpegxl_anim", "pam", "pbm", "pcx", "pfm", "pgm",
                                           "pgmyuv", "pgx", "phm", "ppm", "psd", "qdraw", "qoi", "sgi", "sunrast",
                                           "targa", "tiff", "wbmp", "webp", "xbm", "xpm", "xwd",
                                           // drawings, games, and pointers into the program's memory
                                           "svg", "bmv_video", "cdtoons", "dxa", "wrapped_avframe"};
        void *position = nullptr;
        int lossless = 0;
        while (const AVCodec *codec = av_codec_iterate(&position)) {
            const AVCodecDescriptor *facts = avcodec_descriptor_get(codec->id);
            const bool isOurs = (codec->capabilities & (AV_CODEC_CAP_HARDWARE | AV_CODEC_CAP_HYBRID)) == 0;
            if (!av_codec_is_decoder(codec) || codec->type != AVMEDIA_TYPE_VIDEO || !facts || !isOurs ||
                (facts->props & AV_CODEC_PROP_LOSSLESS) == 0)
                continue;
            ++lossless;
            QVERIFY2(quorvale::ffmpeg::isWanted(*codec) != others.contains(facts->name), codec->name);
        }
        QVERIFY(lossless > 50);
    }

    void decoders_thatNeedADevice_areNotWanted()
    {
        void *position = nullptr;
        while (const AVCodec *codec = av_codec_iterate(&position)) {
            static const QRegularExpression device(
                "_(qsv|cuvid|v4l2m2m|mediacodec|mmal|amf|vaapi|videotoolbox|rkmpp|oh|mf)$");
            if (device.match(codec->name).hasMatch())
                QVERIFY2(!quorvale::ffmpeg::isWanted(*codec), codec->name);
        }
    }

    void open_refuses_whatIsNoVideo_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QStringList>("encoder");
        QTest::newRow("PNG") << "image2" << QStringList{"-c:v", "png", "-frames:v", "1", "-update", "1"};
        QTest::newRow("JPEG") << "image2" << QStringList{"-c:v", "mjpeg", "-frames:v", "1", "-update", "1"};
        QTest::newRow("BMP") << "image2" << QStringList{"-c:v", "bmp", "-frames:v", "1", "-update", "1"};
        QTest::newRow("TIFF") << "image2" << QStringList{"-c:v", "tiff", "-frames:v", "1", "-update", "1"};
        QTest::newRow("GIF") << "gif" << QStringList{"-c:v", "gif"};
        QTest::newRow("APNG") << "apng" << QStringList{"-c:v", "apng"};
        QTest::newRow("GIF in NUT") << "nut" << QStringList{"-c:v", "gif"};
        QTest::newRow("Flash") << "swf" << QStringList{"-c:v", "flv1"};
    }
    void open_refuses_whatIsNoVideo() { verifyRefused(made()); }

    void open_refuses_textsAndDrawings_data()
    {
        QTest::addColumn<QByteArray>("content");
        // Each group shows the one before it ten times: it would be drawn for ever.
        QByteArray drawing =
            "<svg xmlns=\"http://www.w3.org/2000/svg\" xmlns:x=\"http://www.w3.org/1999/xlink\"><g id=\"a0\"/>";
        for (char name = '0'; name < '9'; ++name) {
            const QByteArray next(1, char(name + 1));
            drawing += "<g id=\"a" + next + "\">" +
                       QByteArray("<use x:href=\"#a" + QByteArray(1, name) + "\"/>").repeated(10) + "</g>";
        }
        QTest::newRow("drawing") << drawing + "</svg>";
        QTest::newRow("subtitles") << QByteArray("1\n00:00:01,000 --> 00:00:02,000\ntext\n\n").repeated(20);
        QTest::newRow("terminal") << QByteArray("\x1b[2J\x1b[31mtext\r\n").repeated(100);
        QTest::newRow("XPM") << QByteArray(
            "/* XPM */\nstatic char *a[] = {\n\"1 1 1 1\",\n\"a c #000000\",\n\"a\"\n};\n");
    }
    void open_refuses_textsAndDrawings()
    {
        QFETCH(QByteArray, content);
        verifyRefused(writeFile(dir.path(), "a.ts", content));
    }

    // A decoder that had looked at the stream would know how its pixels are laid out.
    void probing_usesNoDecoder_thatIsNotWanted()
    {
        for (const char *encoder : {"gif", "ffv1"}) {
            const QString path = makeWithFFmpeg(
                dir.path(), "probed.ts", {"-f", "lavfi", "-i", "testsrc2=s=96x64:d=1", "-c:v", encoder, "-f", "nut"});
            AVFormatContext *input = nullptr;
            QVERIFY(quorvale::ffmpeg::openSingleInput(input, qPrintable(path)));
            QVERIFY(quorvale::ffmpeg::findStreams(*input, nullptr));
            QCOMPARE(input->nb_streams, 1U);
            QCOMPARE(input->streams[0]->codecpar->format >= 0, qstrcmp(encoder, "ffv1") == 0);
            quorvale::ffmpeg::closeSingleInput(input);
            QVERIFY(!input);
        }
    }

    void parsers_areTakenAway_fromWhereAnFlvFileNamesUnits()
    {
        const QString made = makeWithFFmpeg(
            dir.path(), "a.ts", {"-f", "lavfi", "-i", "testsrc2=d=9", "-c:v", "flv1", "-q:v", "2", "-f", "flv"});
        QVERIFY(readFile(made).size() > 200000);
        const QString path = writeFile(dir.path(), "named.ts", readFile(made) + "hvc1");
        AVFormatContext *input = nullptr;
        QVERIFY(quorvale::ffmpeg::openSingleInput(input, qPrintable(path)));
        QCOMPARE(input->flags & AVFMT_FLAG_NOPARSE, 0);
        AVPacket *packet = av_packet_alloc();
        while (quorvale::ffmpeg::readPacket(*input, *packet) >= 0)
            av_packet_unref(packet);
        QCOMPARE(input->flags & AVFMT_FLAG_NOPARSE, AVFMT_FLAG_NOPARSE);
        av_packet_free(&packet);
        quorvale::ffmpeg::closeSingleInput(input);
    }

private:
    static void verifyRefused(const QString &path)
    {
        FFVideo video;
        QVERIFY(!path.isEmpty() && !open(video, path));
        QCOMPARE(video.lastError, std::int32_t(FFVideo::FF_ERROR_OPEN));
    }

    // The recording that the row describes.
    [[nodiscard]] QString made() const
    {
        QFETCH(QString, format);
        QFETCH(QStringList, encoder);
        return makeWithFFmpeg(dir.path(), "a.ts",
                              QStringList{"-f", "lavfi", "-i", "testsrc2=s=96x64:d=1"} + encoder +
                                  QStringList{"-f", format});
    }

    const QTemporaryDir dir;
};

TEST_CLASS(TestFFVideoKinds, quorvale::NoApplication)
#include "tst_ffvideo_kinds.moc"
