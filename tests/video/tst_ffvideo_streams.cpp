#include "tests/support/openvideo.h"
#include "tests/support/oracle.h"
#include "tests/support/picture.h"
#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "tests/video/everypicture.h"
#include "tests/video/streamset.h"
#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/decoder.h"
#include "video/ffmpeg/probing.h"

namespace {

// A VP9 stream in an IVF file, in which every two packets are joined to one "superframe". Each of its packets then
// completes two pictures.
//
//     file:  32 bytes, packets           packet: size (4), timestamp (8), data
//     superframe: picture, picture, marker, size (4), size (4), marker
QByteArray withPairsOfPackets(const QByteArray &file)
{
    constexpr int kFileHeader = 32;
    constexpr int kPacketHeader = 12;
    constexpr char kTwoPicturesSizesOfFourBytes = '\xD9';
    const auto littleEndian = [](quint32 value) {
        QByteArray bytes(4, '\0');
        qToLittleEndian(value, bytes.data());
        return bytes;
    };

    QByteArray joined = file.left(kFileHeader);
    QList<QByteArray> pair;
    for (int at = kFileHeader; at + kPacketHeader <= file.size();) {
        const int size = int(qFromLittleEndian<quint32>(file.constData() + at));
        pair.append(file.mid(at + kPacketHeader, size));
        if (pair.size() == 2) {
            const QByteArray index = kTwoPicturesSizesOfFourBytes + littleEndian(quint32(pair[0].size())) +
                                     littleEndian(quint32(pair[1].size())) + kTwoPicturesSizesOfFourBytes;
            const QByteArray packet = pair[0] + pair[1] + index;
            joined += littleEndian(quint32(packet.size())) + file.mid(at + 4, 8) + packet;
            pair.clear();
        }
        at += kPacketHeader + size;
    }
    return joined;
}

// Counts the pictures of a file with FFmpeg's functions alone, and notes what a reader has to note.
struct StepsByHand
{
    static constexpr qint64 kNone = quorvale::kNoTimestamp;

    quorvale::ffmpeg::InputPtr input;
    quorvale::ffmpeg::DecoderPtr decoder;
    quorvale::ffmpeg::PacketPtr packet = quorvale::ffmpeg::makePacket();
    quorvale::ffmpeg::FramePtr frame = quorvale::ffmpeg::makeFrame();
    int stream = -1;
    qint64 last = kNone, previous = kNone, seek = kNone, first = kNone;

    [[nodiscard]] bool open(const QString &path)
    {
        AVFormatContext *opened = nullptr;
        const bool probed = quorvale::ffmpeg::openProbed(opened, QFile::encodeName(path).constData());
        input.reset(opened);
        if (!probed)
            return false;
        const AVCodec *codec = nullptr;
        stream = quorvale::ffmpeg::findBestStream(opened, AVMEDIA_TYPE_VIDEO, codec);
        const AVStream &video = *opened->streams[stream];
        decoder = quorvale::ffmpeg::makeDecoder(*video.codecpar, video.time_base, codec);
        return avcodec_open2(decoder.get(), codec, nullptr) == 0;
    }

    // Passes over one packet after the other until a picture comes; false at the end of the file. From FFmpeg 7.1 on,
    // one packet of HEVC can bring two.
    bool step()
    {
        if (avcodec_receive_frame(decoder.get(), frame.get()) == 0)
            return true;
        for (bool isFirst = true;;) {
            av_packet_unref(packet.get());
            if (av_read_frame(input.get(), packet.get()) < 0)
                return false;
            if (packet->stream_index != stream)
                continue;
            const qint64 dts = packet->dts;
            if (dts != kNone) {
                previous = last;
                last = dts;
            }
            first = first != kNone ? first : dts;
            if (isFirst || (packet->flags & AV_PKT_FLAG_KEY) != 0)
                seek = previous != kNone ? previous : dts;
            isFirst = false;
            avcodec_send_packet(decoder.get(), packet.get());
            if (avcodec_receive_frame(decoder.get(), frame.get()) == 0)
                return true;
        }
    }

    [[nodiscard]] bool isKey() const
    {
        return quorvale::ffmpeg::isKeyFrame(*frame) || frame->pict_type == AV_PICTURE_TYPE_I;
    }
    [[nodiscard]] QVector<qint64> timestamps() const { return {last, previous, seek, first}; }
};

} // namespace

/// Streams made for the purpose: each way of coding, and each kind of damage, compared with the ffmpeg program picture
/// by picture. Where a stream is whole the pictures also say their numbers themselves.
class TestFFVideoStreams : public QObject
{
    Q_OBJECT

private:
    static constexpr int kFrames = 100;
    static constexpr std::initializer_list<const char *> kDamaged = {
        "h264-starts-in-the-middle.ts", "mpeg2-starts-in-the-middle.ts", "h264-packets-lost.ts",
        "mpeg2-bits-flipped.ts", "h264-cut.ts"};

    QTemporaryDir folder;
    QMap<QString, QString> paths;

    void addRows(std::initializer_list<const char *> names)
    {
        QTest::addColumn<QString>("name");
        for (const char *name : names)
            QTest::newRow(name) << QString(name);
    }
    void addWholeRows()
    {
        addRows({"mpeg2.ts", "mpeg2-b.ts", "mpeg2-b-interlaced.ts", "h264.ts", "h264-b-closed.ts", "h264-b-open.ts",
                 "h264-b-interlaced.ts", "h264-intra.ts", "hevc.ts", "hevc-idr.ts", "hevc-raw.265",
                 "mpeg2-33-bit-wrap.ts", "hdmv.ts"});
    }
    void addDamagedRows() { addRows(kDamaged); }

    // `flags`: for the input, once the reader has the first picture.
    void compareSteps(const QString &path, int flags)
    {
        StepsByHand byHand;
        FFVideo video;
        QVERIFY(byHand.open(path) && open(video, path, true));
        int rows = 0;
        for (int number = 0; byHand.step(); ++number) {
            QVERIFY(!video.endOfStream);
            QCOMPARE(video.currentFrame, number);
            QCOMPARE((QVector<qint64>{video.lastDts, video.previousDts, video.seekDts, video.firstDts}),
                     byHand.timestamps());
            if (!video.isHevc && (number == 0 || byHand.isKey())) {
                const KeyFrameEntry &row = video.keyFrames.entries[rows++];
                const qint64 seek = number == 0 ? byHand.first : byHand.seek;
                const qint64 dts = byHand.packet->dts;
                QCOMPARE(row.frame, number);
                QCOMPARE(row.seekDts, seek);
                QCOMPARE(row.frameDts, dts != byHand.kNone ? dts : byHand.last != byHand.kNone ? byHand.last : seek);
            }
            QCOMPARE(video.keyFrames.count, rows);
            byHand.input->flags |= flags;
            video.formatContext->flags |= flags;
            video.stepForward();
        }
        QVERIFY(video.endOfStream);
        QCOMPARE(video.keyFrames.frames, video.currentFrame);
    }

private slots:
    void initTestCase()
    {
        paths = makeWholeStreams(folder.path(), kFrames, {320, 240});
        paths.insert(makeDamagedStreams(folder.path(), paths));
        for (auto path = paths.constBegin(); path != paths.constEnd(); ++path)
            QVERIFY2(!path.value().isEmpty() && QFile(path.value()).size() > 10000, qPrintable(path.key()));
    }

    void picture_saysTheNumberThatWasAskedFor_data() { addWholeRows(); }
    void picture_saysTheNumberThatWasAskedFor()
    {
        QFETCH(const QString, name);
        FFVideo video;
        QVERIFY(open(video, paths[name], false));
        QVERIFY(video.frameCount >= kFrames - 3);
        for (const int number : shuffled(video.frameCount, 7)) {
            Picture picture;
            QVERIFY(video.Read(number, picture));
            QCOMPARE(numberIn(picture).value_or(9999), unsigned(number));
        }
    }

    void read_deliversEveryPicture_forwards_data()
    {
        addWholeRows();
        for (const char *name : kDamaged) // whatever there is
            QTest::newRow(name) << QString(name);
    }
    void read_deliversEveryPicture_forwards()
    {
        QFETCH(const QString, name);
        const auto expected = pictureChecksums(paths[name]);
        QVERIFY(expected.size() > kFrames / 2 - 10);
        FFVideo video;
        QVERIFY(open(video, paths[name], true));
        const int end = readToTheEnd(video, 0, expected);
        QVERIFY(end > expected.size() - 1 - kMostHeldBack);
        QCOMPARE(video.frameCount, end);
    }

    void step_notesTimestampsAndRows_data()
    {
        addWholeRows();
        for (const char *name : kDamaged)
            QTest::newRow(name) << QString(name);
    }
    void step_notesTimestampsAndRows()
    {
        QFETCH(const QString, name);
        compareSteps(paths[name], 0);
    }

    void step_notesTheTimestampBefore_ofAKeyPictureWithoutOne()
    {
        TestStream stream;
        stream.fileName = "without.mkv"; // A container without decode timestamps, which FFmpeg fills in.
        stream.encoder = QStringList{"-c:v", "libx264", "-preset", "veryfast", "-g", "10", "-bf", "2"};
        stream.frames = kFrames;
        compareSteps(makeStream(folder.path(), stream), AVFMT_FLAG_NOFILLIN);
    }

    void read_deliversEveryPicture_backwards_data() { addWholeRows(); }
    void read_deliversEveryPicture_backwards()
    {
        QFETCH(const QString, name);
        FFVideo video;
        QVERIFY(open(video, paths[name], false));
        QCOMPARE(compareEach(video, descending(video.frameCount, 1), pictureChecksums(paths[name])), QString());
    }

    void read_deliversEveryPicture_shuffled_data() { addWholeRows(); }
    void read_deliversEveryPicture_shuffled()
    {
        QFETCH(const QString, name);
        FFVideo video;
        QVERIFY(open(video, paths[name], false));
        QCOMPARE(compareEach(video, shuffled(video.frameCount, 1), pictureChecksums(paths[name])), QString());
    }

    void wholePass_leavesTheLastPicture_decodedInFull_data() { addWholeRows(); }
    void wholePass_leavesTheLastPicture_decodedInFull()
    {
        QFETCH(const QString, name);
        FFVideo video;
        QVERIFY(open(video, paths[name], false));
        QVERIFY(video.endOfStream);
        QCOMPARE(checksum(*video.frame), pictureChecksums(paths[name]).value(video.frameCount - 1));
    }

    void read_deliversEveryPicture_withTheSameTable_afterCloseAndOpen_data() { addWholeRows(); }
    void read_deliversEveryPicture_withTheSameTable_afterCloseAndOpen()
    {
        QFETCH(const QString, name);
        const QByteArray table = QFile::encodeName(folder.filePath(name + ".kft"));
        FFVideo video;
        QVERIFY(open(video, paths[name], false));
        const int frames = video.frameCount;
        QVERIFY(video.SaveKeyTable(table.constData(), true));
        QVERIFY(video.Close());
        QVERIFY(video.LoadKeyTable(table.constData()));
        QVERIFY(open(video, paths[name], false));
        QCOMPARE(video.frameCount, frames);
        QCOMPARE(compareEach(video, shuffled(frames, 3), pictureChecksums(paths[name])), QString());
    }

    void read_findsTheSamePictures_inADamagedStream_data() { addDamagedRows(); }
    void read_findsTheSamePictures_inADamagedStream()
    {
        // Concealed pictures depend on what was decoded before them; that every number is answered does not.
        QFETCH(const QString, name);
        FFVideo video;
        QVERIFY(open(video, paths[name], false));
        QVERIFY(video.keyFrames.complete);
        int delivered = 0;
        const QVector<int> numbers = shuffled(video.frameCount, 3);
        for (const int number : numbers) {
            Picture picture;
            if (video.Read(number, picture)) {
                ++delivered;
                QCOMPARE(video.currentFrame, number);
            } else {
                QCOMPARE(video.lastError, 1);
            }
        }
        QVERIFY(delivered > 0);
    }

    void rawH264_isReadForwardOnly()
    {
        // There are no timestamps to seek by.
        const QString path =
            makeStream(folder.path(), {"raw.264", words("-c:v libx264 -preset veryfast -g 24 -f h264"), kFrames});
        compareSteps(path, 0);
        const auto expected = pictureChecksums(path);
        FFVideo video;
        QVERIFY(open(video, path, true));
        QVERIFY(readToTheEnd(video, 0, expected) > kFrames - 1 - kMostHeldBack);
        Picture picture;
        QVERIFY(!video.Read(50, picture));
        QCOMPARE(video.lastError, 1);

        FFVideo whole;
        QVERIFY(open(whole, path, false));
        QCOMPARE(checksum(*whole.frame), expected.value(whole.frameCount - 1));
    }

    void packetsThatCompleteTwoPictures_loseNoneAndCountNoneTwice()
    {
        const QStringList encoder =
            words("-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -lag-in-frames 0 -auto-alt-ref 0 -g 20 -b:v 1M");
        const QString single = makeStream(folder.path(), {"single.ivf", encoder, 60});
        QVERIFY(!single.isEmpty());
        const auto expected = pictureChecksums(single);
        QCOMPARE(int(expected.size()), 60);
        const QString pairs = writeFile(folder.path(), "pairs.ivf", withPairsOfPackets(readFile(single)));

        FFVideo video;
        QVERIFY(open(video, pairs, true));
        QCOMPARE(readToTheEnd(video, 0, expected), 60);
        QCOMPARE(video.frameCount, 60);
        // After a seek nothing is left over from before it.
        QCOMPARE(compareEach(video, {1, 0, 7, 2, 1}, expected), QString());
    }

    void oneOpenReader_doesNotDisturbAnother()
    {
        const QString path = paths["h264-b-open.ts"];
        const auto expected = pictureChecksums(path);
        FFVideo one;
        FFVideo other;
        QVERIFY(open(one, path, true));
        QVERIFY(open(other, paths["mpeg2.ts"], true));
        for (const int number : {10, 11, 40, 12}) {
            QCOMPARE(compareEach(one, {number}, expected), QString());
            QCOMPARE(compareEach(other, {number}, pictureChecksums(paths["mpeg2.ts"])), QString());
        }
    }
};

TEST_CLASS(TestFFVideoStreams, QCoreApplication)
#include "tst_ffvideo_streams.moc"
