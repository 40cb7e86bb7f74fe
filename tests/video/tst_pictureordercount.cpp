#include "tests/support/openvideo.h"
#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "tests/video/streamset.h"
#include "tests/video/videopackets.h"
#include "tests/video/writtenunits.h"
#include "video/bitstream/accessunitreader.h"

#include <algorithm>
#include <memory>
#include <optional>

using namespace quorvale;

namespace {

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
        QVERIFY(open(opened, path));
        const AVCodecID codecId = opened.videoCodec->codec_id;
        QVERIFY(codingOf(codecId).has_value());
        const std::unique_ptr<AccessUnitReader> reader = makeAccessUnitReader(*codingOf(codecId));
        QVector<QByteArray> packets;
        QVector<AccessUnit> found;
        for (const ffmpeg::PacketPtr &packet : readVideoPackets(path).packets) {
            packets.append(QByteArray(reinterpret_cast<const char *>(packet->data), packet->size));
            found.append(readUnit(*reader, packets.last()));
        }
        QCOMPARE(int(found.size()), units);
        const auto count = [&](const auto &matches) { return int(std::count_if(found.begin(), found.end(), matches)); };
        QCOMPARE(count([](const AccessUnit &unit) { return unit.onePicture; }), pictures);
        QCOMPARE(count([](const AccessUnit &unit) { return unit.randomAccess == RandomAccess::InexactRecoveryPoint; }),
                 inexact);
        QCOMPARE(
            count([](const AccessUnit &unit) { return unit.onePicture && unit.randomAccess != RandomAccess::None; }),
            points + inexact);

        // Where the parser differs from the standard is shown by tst_h264_poc and tst_hevc_poc; in none of these it
        // does.
        const QVector<std::int64_t> parsed = parserCounts(codecId, packets);
        for (int i = 0; i < units && codecId != AV_CODEC_ID_MPEG2VIDEO; ++i) {
            if (found[i].onePicture)
                QCOMPARE(found[i].pictureOrderCount, parsed[i]);
        }
        if (isUndamaged) {
            avcodec_flush_buffers(opened.videoCodec);
            QCOMPARE(decodedOrder(*opened.videoCodec, packets), predictedOrder(found));
        }
    }
};

TEST_CLASS(TestPictureOrderCount, QCoreApplication)
#include "tst_pictureordercount.moc"
