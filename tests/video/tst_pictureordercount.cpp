#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "tests/video/streamset.h"
#include "tests/video/videopackets.h"
#include "video/bitstream/accessunitreader.h"
#include "video/ffvideo.h"

#include <QMap>
#include <QTemporaryDir>
#include <QVector>
#include <QtTest>

#include <algorithm>
#include <memory>
#include <optional>

using namespace quorvale;

namespace {

struct ReadUnits
{
    VideoPackets video;
    AVCodecID codecId = AV_CODEC_ID_NONE;
    QVector<AccessUnit> units;
    QVector<std::int64_t> parserCounts; // what libavcodec's parser makes of the same packets
};

std::optional<VideoCoding> codingOf(AVCodecID codecId)
{
    switch (codecId) {
    case AV_CODEC_ID_MPEG2VIDEO:
        return VideoCoding::Mpeg2;
    case AV_CODEC_ID_H264:
        return VideoCoding::H264;
    case AV_CODEC_ID_HEVC:
        return VideoCoding::Hevc;
    default:
        return std::nullopt;
    }
}

// `opened`: the same file.
ReadUnits readUnits(const QString &path, const FFVideo &opened)
{
    ReadUnits found;
    found.video = readVideoPackets(path);
    found.codecId = opened.videoCodec->codec_id;
    const std::optional<VideoCoding> coding = codingOf(found.codecId);
    if (!coding)
        return found;
    const std::unique_ptr<AccessUnitReader> reader = makeAccessUnitReader(*coding);
    AVCodecParserContext *parser = av_parser_init(found.codecId);
    parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    const ffmpeg::DecoderPtr context(avcodec_alloc_context3(nullptr));
    for (const ffmpeg::PacketPtr &packet : found.video.packets) {
        found.units.append(reader->read(packet->data, std::size_t(packet->size)));
        std::uint8_t *data = nullptr;
        int size = 0;
        av_parser_parse2(parser, context.get(), &data, &size, packet->data, packet->size, packet->pts, packet->dts, 0);
        found.parserCounts.append(parser->output_picture_number);
    }
    av_parser_close(parser);
    return found;
}

// The packets of the pictures in output order, as told by the units; a pair of fields is known by its first.
QVector<int> predictedOrder(const QVector<AccessUnit> &units)
{
    struct Picture
    {
        int packet;
        int sequence;
        std::int64_t count;
    };
    QVector<Picture> pictures;
    int sequence = 0;
    std::optional<AccessUnit> firstField;
    for (int i = 0; i < units.size(); ++i) {
        const AccessUnit &unit = units[i];
        const bool isField = unit.structure != PictureStructure::Frame;
        if (firstField && isField && unit.structure != firstField->structure && unit.frameNum == firstField->frameNum &&
            unit.isReference == firstField->isReference && !unit.startsSequence) {
            pictures.last().count = std::min(pictures.last().count, unit.pictureOrderCount);
            firstField.reset();
            continue;
        }
        sequence += unit.startsSequence ? 1 : 0;
        pictures.append({i, sequence, unit.pictureOrderCount});
        firstField = isField ? std::optional(unit) : std::nullopt;
    }
    std::stable_sort(pictures.begin(), pictures.end(), [](const Picture &a, const Picture &b) {
        return a.sequence != b.sequence ? a.sequence < b.sequence : a.count < b.count;
    });
    QVector<int> order;
    for (const Picture &picture : pictures)
        order.append(picture.packet);
    return order;
}

// The same, as the decoder delivers them, with what it is made to give at the end.
QVector<int> decodedOrder(const VideoPackets &video, AVCodecContext *decoder)
{
    QVector<int> order;
    const ffmpeg::FramePtr frame = ffmpeg::makeFrame();
    for (std::size_t i = 0; i <= video.packets.size(); ++i) {
        AVPacket *packet = i < video.packets.size() ? video.packets[i].get() : nullptr;
        if (packet)
            packet->pts = packet->dts = std::int64_t(i);
        avcodec_send_packet(decoder, packet);
        while (avcodec_receive_frame(decoder, frame.get()) == 0)
            order.append(int(frame->pts));
    }
    return order;
}

} // namespace

/// Compares what access units say of whole recordings with libavcodec's parser and decoder.
class TestPictureOrderCount : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;
    QMap<QString, QString> made;

private slots:
    void initTestCase()
    {
        made = makeWholeStreams(folder.path(), 100, {64, 64});
        for (const QString &path : made)
            QVERIFY(!path.isEmpty());
    }

    void recordings_areReadAsEver_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("units");
        QTest::addColumn<int>("pictures");     // units that are one picture
        QTest::addColumn<int>("points");       // random access points that promise what follows
        QTest::addColumn<int>("inexact");      // recovery points that do not
        QTest::addColumn<bool>("isUndamaged"); // from the first picture to the last
        const auto addSample = [](const char *name, int units, int pictures, int points, int inexact,
                                  bool isUndamaged) {
            QTest::newRow(name) << samplePath(name).value_or(QString()) << units << pictures << points << inexact
                                << isUndamaged;
        };
        addSample("akiyo-x265.265", 300, 300, 2, 0, true);
        addSample("bd-1080i-5s.m2ts", 151, 150, 9, 0, false);
        addSample("h264-1080i-ac3.ts", 95, 86, 0, 3, false);
        addSample("h264-1080i5994-dirtystart-mp2.ts", 177, 174, 8, 0, false);
        addSample("h264-234p-61s-truncated.ts", 1825, 1825, 13, 0, true);
        addSample("h264-576i-12x11-bars.ts", 496, 496, 9, 0, true);
        addSample("h264-576i-16x11-eac3.ts", 187, 182, 0, 6, false);
        addSample("hevc-main10-360p-12s.ts", 360, 360, 5, 0, true);
        addSample("mpeg2-704x576i-16x11-subs.ts", 118, 118, 4, 0, false);
        const auto addMade = [this](const QString &name, int points) {
            QTest::newRow(qPrintable(name)) << made[name] << 100 << 100 << points << 0 << true;
        };
        for (const char *name : {"mpeg2.ts", "mpeg2-b.ts", "mpeg2-b-interlaced.ts", "mpeg2-33-bit-wrap.ts"})
            addMade(name, 9);
        for (const char *name : {"h264.ts", "h264-b-closed.ts", "h264-b-open.ts", "h264-b-interlaced.ts", "hevc.ts"})
            addMade(name, 5);
        addMade("h264-intra.ts", 100);
    }
    void recordings_areReadAsEver()
    {
        QFETCH(const QString, path);
        QFETCH(const int, units);
        QFETCH(const int, pictures);
        QFETCH(const int, points);
        QFETCH(const int, inexact);
        QFETCH(const bool, isUndamaged);
        if (path.isEmpty())
            QSKIP("The capture is not on this machine.");
        FFVideo opened;
        QVERIFY(opened.Open(QFile::encodeName(path).constData(), true, FFVideo::FF_ACCESS_READ));
        const ReadUnits found = readUnits(path, opened);
        QCOMPARE(int(found.units.size()), units);
        const auto count = [&](const auto &matches) {
            return int(std::count_if(found.units.begin(), found.units.end(), matches));
        };
        QCOMPARE(count([](const AccessUnit &unit) { return unit.onePicture; }), pictures);
        QCOMPARE(count([](const AccessUnit &unit) { return unit.randomAccess == RandomAccess::InexactRecoveryPoint; }),
                 inexact);
        QCOMPARE(
            count([](const AccessUnit &unit) { return unit.onePicture && unit.randomAccess != RandomAccess::None; }),
            points + inexact);

        // Where the parser differs from the standard is shown by tst_h264_poc and tst_hevc_poc; in none of these it
        // does.
        for (int i = 0; i < units && found.codecId != AV_CODEC_ID_MPEG2VIDEO; ++i) {
            if (found.units[i].onePicture)
                QCOMPARE(found.units[i].pictureOrderCount, found.parserCounts[i]);
        }
        if (isUndamaged) {
            avcodec_flush_buffers(opened.videoCodec);
            QCOMPARE(decodedOrder(found.video, opened.videoCodec), predictedOrder(found.units));
        }
    }
};

TEST_CLASS(TestPictureOrderCount, QCoreApplication)
#include "tst_pictureordercount.moc"
