#include "tests/support/picture.h"
#include "tests/support/teststreams.h"
#include "tests/video/videopackets.h"
#include "video/deliveryorder.h"
#include "video/ffvideo.h"
#include "video/startcodes.h"

#include <QMap>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <cstring>
#include <random>

namespace {

constexpr int kFrames = 90;

using Units = std::vector<QByteArray>; // of one packet, each with its start code

Units unitsOf(const AVPacket &packet)
{
    Units units;
    StartCodes codes(packet.data, packet.size);
    Bytes found;
    while (codes.next(found)) {
        const auto *bytes = reinterpret_cast<const char *>(found.data);
        units.push_back(QByteArray("\0\0\1", 3) + QByteArray(bytes, int(found.size)));
    }
    return units;
}

ffmpeg::PacketPtr packetOf(const AVPacket &like, const Units &units)
{
    QByteArray bytes;
    for (const QByteArray &unit : units)
        bytes += unit;
    ffmpeg::PacketPtr packet = ffmpeg::makePacket();
    if (av_new_packet(packet.get(), int(bytes.size())) < 0)
        throw std::bad_alloc();
    std::memcpy(packet->data, bytes.constData(), std::size_t(bytes.size()));
    packet->pts = like.pts;
    packet->dts = like.dts;
    return packet;
}

// The kind that the first byte behind the start code tells.
int kindOf(const QByteArray &unit, const QString &codec)
{
    const int byte = static_cast<unsigned char>(unit[3]);
    return codec == "h264" ? byte & 31 : codec == "hevc" ? byte >> 1 & 63 : byte;
}

bool isSlice(const QByteArray &unit, const QString &codec)
{
    const int kind = kindOf(unit, codec);
    return codec == "h264" ? kind == 1 || kind == 5 : codec == "hevc" ? kind < 32 : kind >= 1 && kind <= 0xAF;
}

} // namespace

/// What packets say about themselves, held against what decoding them shows, and what is doubted in packets that were
/// tampered with.
class TestPacketScanner : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;
    QMap<QString, QString> paths;

    void add(const QString &fileName, const QStringList &encoder, bool interlaced = false)
    {
        TestStream stream;
        stream.fileName = fileName;
        stream.encoder = encoder;
        stream.frames = kFrames;
        stream.interlaced = interlaced;
        paths[fileName] = makeStream(folder.path(), stream);
        QVERIFY2(!paths[fileName].isEmpty(), qPrintable(fileName));
    }

    // Shows the scanner the stream up to packet `at`, which is replaced by `units`; the facts of that one.
    PacketFacts tampered(const QString &name, std::size_t at, const std::function<void(Units &)> &change)
    {
        const VideoPackets video = readVideoPackets(paths[name]);
        for (std::size_t i = 0; i < at; ++i) {
            if (video.scanner->scan(*video.packets[i]).doubts != 0)
                throw std::runtime_error("the stream is doubted before it was touched");
        }
        Units units = unitsOf(*video.packets[at]);
        change(units);
        return video.scanner->scan(*packetOf(*video.packets[at], units));
    }

    void addRows(std::initializer_list<const char *> names)
    {
        QTest::addColumn<QString>("name");
        for (const char *name : names)
            QTest::newRow(name) << QString(name);
    }
    void addWholeRows()
    {
        addRows({"mpeg2.ts", "mpeg2-interlaced.ts", "h264.ts", "h264-open.ts", "h264-interlaced.ts", "h264-refresh.ts",
                 "h264-intra.ts", "hevc.ts", "hevc-open.ts", "hevc-layers.ts"});
    }
    // Streams of several slices to a picture, and which codec they are.
    void addSlicedRows()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("codec");
        QTest::newRow("MPEG-2") << "mpeg2.ts"
                                << "mpeg2";
        QTest::newRow("H.264") << "h264.ts"
                               << "h264";
        QTest::newRow("HEVC") << "hevc.ts"
                              << "hevc";
    }

private slots:
    void initTestCase()
    {
        const QStringList mpeg2{"-c:v", "mpeg2video", "-q:v", "3", "-g", "12", "-bf", "2"};
        const QStringList h264{"-c:v", "libx264", "-preset", "veryfast", "-g", "24", "-bf", "3"};
        const QStringList hevc{"-c:v", "libx265", "-preset", "ultrafast", "-x265-params"};
        add("mpeg2.ts", mpeg2);
        add("mpeg2-interlaced.ts", mpeg2, true);
        add("h264.ts", h264 + QStringList{"-x264-params", "slices=4"});
        add("h264-open.ts", h264 + QStringList{"-x264-params", "open-gop=1:b-pyramid=normal"});
        add("h264-interlaced.ts", h264 + QStringList{"-x264-params", "tff=1"}, true);
        add("h264-refresh.ts", h264 + QStringList{"-x264-params", "intra-refresh=1"});
        add("h264-intra.ts", h264 + QStringList{"-g", "1"});
        add("hevc.ts", hevc + QStringList{"keyint=24:slices=2:open-gop=0:log-level=none"});
        add("hevc-open.ts", hevc + QStringList{"keyint=24:bframes=4:b-pyramid=1:open-gop=1:log-level=none"});
        add("hevc-layers.ts", hevc + QStringList{"keyint=24:temporal-layers=1:log-level=none"});
    }

    void order_isTheOneOfDisplayTimes_data() { addWholeRows(); }
    void order_isTheOneOfDisplayTimes()
    {
        QFETCH(const QString, name);
        const VideoPackets video = readVideoPackets(paths[name]);
        PictureWindow window(video.unitsInASecond);
        for (const ffmpeg::PacketPtr &packet : video.packets)
            window.append(video.scanner->scan(*packet));
        QCOMPARE(int(window.pictureEnd()), kFrames);
        QCOMPARE(window.firstDoubt(0, window.packetEnd()), window.packetEnd());

        std::vector<std::int64_t> times;
        for (const std::int64_t picture : deliveryOrder(window, 0))
            times.push_back(window.picture(picture).pts);
        QCOMPARE(int(times.size()), kFrames);
        QVERIFY(std::is_sorted(times.begin(), times.end()));
    }

    void tableRows_areThoseOfTheTable_data() { addWholeRows(); }
    void tableRows_areThoseOfTheTable()
    {
        QFETCH(const QString, name);
        const VideoPackets video = readVideoPackets(paths[name]);
        PictureWindow window(video.unitsInASecond);
        for (const ffmpeg::PacketPtr &packet : video.packets)
            window.append(video.scanner->scan(*packet));

        FFVideo reader;
        QVERIFY(reader.Open(QFile::encodeName(paths[name]).constData(), false, FFVideo::FF_ACCESS_READ));
        const std::vector<std::int64_t> order = deliveryOrder(window, 0);
        std::vector<int> expected; // picture 0 is always a row
        for (int number = 0; number < reader.frameCount; ++number) {
            if (number == 0 || window.picture(order[std::size_t(number)]).tableRow)
                expected.push_back(number);
        }
        std::vector<int> rows;
        for (int row = 0; row < reader.keyFrames.count; ++row)
            rows.push_back(reader.keyFrames.entries[row].frame);
        QCOMPARE(rows, expected);
    }

    void closedKeys_areTheKeyPicturesOfTheseEncoders_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QVector<int>>("expected"); // nothing: what the demuxer calls key packets
        for (const char *name : {"mpeg2.ts", "h264.ts", "h264-open.ts", "h264-interlaced.ts", "h264-intra.ts",
                                 "hevc.ts", "hevc-open.ts", "hevc-layers.ts"})
            QTest::newRow(name) << QString(name) << QVector<int>();
        // Only the first picture is whole in itself; the rest is refreshed bit by bit.
        QTest::newRow("h264-refresh.ts") << "h264-refresh.ts" << QVector<int>{0};
    }
    void closedKeys_areTheKeyPicturesOfTheseEncoders()
    {
        QFETCH(const QString, name);
        QFETCH(QVector<int>, expected);
        const VideoPackets video = readVideoPackets(paths[name]);
        const bool byFlag = expected.isEmpty();
        QVector<int> found;
        for (int i = 0; i < int(video.packets.size()); ++i) {
            const AVPacket &packet = *video.packets[std::size_t(i)];
            if (video.scanner->scan(packet).closedKey)
                found.append(i);
            if (byFlag && (packet.flags & AV_PKT_FLAG_KEY) != 0)
                expected.append(i);
        }
        QCOMPARE(found, expected);
        QVERIFY(name == "h264-refresh.ts" || found.size() >= 3);
    }

    void picturesThatNoOtherOneRefersTo_areKnown_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("fewest");
        QTest::addColumn<int>("most");
        QTest::newRow("MPEG-2, two of three") << "mpeg2.ts" << 55 << 60;
        QTest::newRow("H.264, some of the B") << "h264-open.ts" << 20 << 60;
        QTest::newRow("H.264, all I") << "h264-intra.ts" << 0 << 0;
        QTest::newRow("HEVC, some of the B") << "hevc-open.ts" << 20 << 60;
        QTest::newRow("HEVC, of the highest layer alone") << "hevc-layers.ts" << 20 << 60;
    }
    void picturesThatNoOtherOneRefersTo_areKnown()
    {
        // Without them, the others are decoded as they are with them.
        QFETCH(const QString, name);
        QFETCH(const int, fewest);
        QFETCH(const int, most);
        const VideoPackets video = readVideoPackets(paths[name]);
        FFVideo reader;
        QVERIFY(reader.Open(QFile::encodeName(paths[name]).constData(), true, FFVideo::FF_ACCESS_READ));
        const auto decoded = [&](bool all) {
            avcodec_flush_buffers(reader.videoCodec);
            const std::unique_ptr<PacketScanner> scanner =
                makePacketScanner(*reader.formatContext->streams[reader.videoStream]->codecpar);
            const ffmpeg::FramePtr frame = ffmpeg::makeFrame();
            QMap<std::int64_t, QByteArray> pictures;
            for (const ffmpeg::PacketPtr &packet : video.packets) {
                if (!scanner->scan(*packet).reference && !all)
                    continue;
                if (avcodec_send_packet(reader.videoCodec, packet.get()) == 0 &&
                    avcodec_receive_frame(reader.videoCodec, frame.get()) == 0)
                    pictures[frame->pts] = checksum(*frame);
            }
            return pictures;
        };
        const QMap<std::int64_t, QByteArray> with = decoded(true);
        const QMap<std::int64_t, QByteArray> without = decoded(false);
        const int left = int(with.size() - without.size());
        QVERIFY2(left >= fewest - 4 && left <= most, qPrintable(QString::number(left)));
        for (auto picture = without.constBegin(); picture != without.constEnd(); ++picture)
            QCOMPARE(picture.value(), with.value(picture.key(), picture.value()));
    }

    void parameters_areNewOnce_andRepeatsAreNoDoubt_data() { addWholeRows(); }
    void parameters_areNewOnce_andRepeatsAreNoDoubt()
    {
        QFETCH(const QString, name);
        const VideoPackets video = readVideoPackets(paths[name]);
        for (std::size_t i = 0; i < video.packets.size(); ++i) {
            const PacketFacts facts = video.scanner->scan(*video.packets[i]);
            QCOMPARE(facts.newParameters, i == 0);
            QCOMPARE(facts.doubts, 0U);
        }
    }

    void aMissingFirstSlice_isDoubted_data() { addSlicedRows(); }
    void aMissingFirstSlice_isDoubted()
    {
        QFETCH(const QString, name);
        QFETCH(const QString, codec);
        const PacketFacts facts = tampered(name, 5, [&](Units &units) {
            units.erase(std::find_if(units.begin(), units.end(), [&](auto &unit) { return isSlice(unit, codec); }));
        });
        QVERIFY(facts.doubts & kNotOnePicture);
    }

    void aRepeatedFirstSlice_isDoubted_data() { addSlicedRows(); }
    void aRepeatedFirstSlice_isDoubted()
    {
        QFETCH(const QString, name);
        QFETCH(const QString, codec);
        const PacketFacts facts = tampered(name, 5, [&](Units &units) {
            const auto first =
                std::find_if(units.begin(), units.end(), [&](auto &unit) { return isSlice(unit, codec); });
            units.push_back(*first);
        });
        QVERIFY(facts.doubts & kNotOnePicture);
    }

    void slicesInAnotherOrder_areDoubted_data() { addSlicedRows(); }
    void slicesInAnotherOrder_areDoubted()
    {
        QFETCH(const QString, name);
        QFETCH(const QString, codec);
        const PacketFacts facts = tampered(name, 5, [&](Units &units) {
            QVERIFY(units.size() > 2 && isSlice(units[units.size() - 2], codec));
            std::swap(units[units.size() - 2], units[units.size() - 1]);
        });
        QVERIFY(facts.doubts & kNotOnePicture);
    }

    void slicesOfTwoPictures_areDoubted_data() { addSlicedRows(); }
    void slicesOfTwoPictures_areDoubted()
    {
        QFETCH(const QString, name);
        const VideoPackets video = readVideoPackets(paths[name]);
        const Units more = unitsOf(*video.packets[6]);
        const PacketFacts facts =
            tampered(name, 5, [&](Units &units) { units.insert(units.end(), more.begin(), more.end()); });
        QVERIFY(facts.doubts & kNotOnePicture);
    }

    void aLastSliceOfAnotherPicture_isDoubted()
    {
        // The frame number or the order tells.
        const VideoPackets video = readVideoPackets(paths["h264.ts"]);
        const QByteArray other = unitsOf(*video.packets[6]).back();
        const PacketFacts facts = tampered("h264.ts", 5, [&](Units &units) { units.back() = other; });
        QVERIFY(facts.doubts & kNotOnePicture);
    }

    void aPacketWithoutAPicture_isDoubted_data() { addSlicedRows(); }
    void aPacketWithoutAPicture_isDoubted()
    {
        QFETCH(const QString, name);
        QVERIFY(tampered(name, 5, [](Units &units) { units.clear(); }).doubts & kNotOnePicture);
        QVERIFY(tampered(name, 5, [](Units &units) { units = {QByteArray("\0\0\1", 3)}; }).doubts & kNotOnePicture);
        QVERIFY(tampered(name, 5, [](Units &units) { units = {QByteArray("\1\2\3\4", 4)}; }).doubts & kNotOnePicture);
    }

    void theEndOfASequence_isDoubted_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("end");
        QTest::newRow("MPEG-2") << "mpeg2.ts" << QByteArray("\0\0\1\xB7", 4);
        QTest::newRow("H.264") << "h264.ts" << QByteArray("\0\0\1\x0A\x80", 5);
        QTest::newRow("HEVC") << "hevc.ts" << QByteArray("\0\0\1\x48\x01\x80", 6);
    }
    void theEndOfASequence_isDoubted()
    {
        QFETCH(const QString, name);
        QFETCH(const QByteArray, end);
        QVERIFY(tampered(name, 5, [&](Units &units) { units.push_back(end); }).doubts & kNotOnePicture);
        QVERIFY(tampered(name, 5, [&](Units &units) { units.insert(units.begin(), end); }).doubts & kNotOnePicture);
    }

    void dataPartitions_areDoubted()
    {
        const PacketFacts facts = tampered("h264.ts", 5, [](Units &units) { units.back()[3] = char(0x42); });
        QVERIFY(facts.doubts & kNotOnePicture);
    }

    void aParameterSetThatChanges_isDoubted_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("codec");
        QTest::addColumn<int>("kind");
        QTest::newRow("MPEG-2, sequence") << "mpeg2.ts"
                                          << "mpeg2" << 0xB3;
        QTest::newRow("H.264, sequence") << "h264.ts"
                                         << "h264" << 7;
        QTest::newRow("H.264, picture") << "h264.ts"
                                        << "h264" << 8;
        QTest::newRow("HEVC, video") << "hevc.ts"
                                     << "hevc" << 32;
        QTest::newRow("HEVC, sequence") << "hevc.ts"
                                        << "hevc" << 33;
        QTest::newRow("HEVC, picture") << "hevc.ts"
                                       << "hevc" << 34;
    }
    void aParameterSetThatChanges_isDoubted()
    {
        QFETCH(const QString, name);
        QFETCH(const QString, codec);
        QFETCH(const int, kind);
        const VideoPackets video = readVideoPackets(paths[name]);
        std::size_t key = 1;
        for (; (video.packets[key]->flags & AV_PKT_FLAG_KEY) == 0; ++key) {
        }
        const PacketFacts facts = tampered(name, key, [&](Units &units) {
            const auto set =
                std::find_if(units.begin(), units.end(), [&](auto &unit) { return kindOf(unit, codec) == kind; });
            QVERIFY(set != units.end());
            (*set)[set->size() - 1] = char((*set)[set->size() - 1] ^ 0x40);
        });
        QVERIFY(facts.doubts & kParametersChanged);
    }

    void aTableOfItsOwn_isDoubted()
    {
        // A quantiser matrix extension behind the picture's header.
        const PacketFacts facts = tampered("mpeg2.ts", 5, [](Units &units) {
            const auto slice =
                std::find_if(units.begin(), units.end(), [](auto &unit) { return isSlice(unit, "mpeg2"); });
            units.insert(slice, QByteArray("\0\0\1\xB5\x30\x10", 6));
        });
        QVERIFY(facts.doubts & kParametersChanged);
    }

    void fieldsOfAFrameInOnePacket_areDoubted()
    {
        const PacketFacts facts = tampered("mpeg2.ts", 5, [](Units &units) {
            const auto coding = std::find_if(units.begin(), units.end(), [](auto &unit) {
                return kindOf(unit, "mpeg2") == 0xB5 && (unit[4] & 0xF0) == 0x80;
            });
            QVERIFY(coding != units.end());
            (*coding)[6] = char(((*coding)[6] & ~3) | 1); // a top field
        });
        QVERIFY(facts.doubts & kNotOnePicture);
    }

    void keysThatPromiseLess_areNotClosed_data()
    {
        QTest::addColumn<int>("bit"); // of the recovery point, the highest first
        QTest::newRow("the pictures are right later") << 0;
        QTest::newRow("about right") << 1;
        QTest::newRow("a broken link") << 2;
    }
    void keysThatPromiseLess_areNotClosed()
    {
        QFETCH(const int, bit);
        const VideoPackets video = readVideoPackets(paths["h264-open.ts"]);
        std::size_t key = 1;
        for (; (video.packets[key]->flags & AV_PKT_FLAG_KEY) == 0; ++key) {
        }
        const auto isRecovery = [](const QByteArray &unit) { return unit.mid(3, 2) == QByteArray("\6\6", 2); };
        const auto facts = [&](int flipped) {
            return tampered("h264-open.ts", key, [&](Units &units) {
                const auto unit = std::find_if(units.begin(), units.end(), isRecovery);
                QVERIFY(unit != units.end());
                (*unit)[6] = char((*unit)[6] ^ flipped);
            });
        };
        QVERIFY(facts(0).closedKey);
        const PacketFacts changed = facts(0x80 >> bit);
        QVERIFY(!changed.closedKey);
        // All its slices are I, so it enters the table in any case.
        QVERIFY(changed.tableRow);
        QCOMPARE(changed.doubts, 0U);
    }

    void picturesThatMayBeWithheld_areDoubted()
    {
        const VideoPackets video = readVideoPackets(paths["hevc.ts"]);
        std::size_t key = 1;
        for (; (video.packets[key]->flags & AV_PKT_FLAG_KEY) == 0; ++key) {
        }
        // Two numbers 0, dependent slices, and then whether slices say if they are output.
        const PacketFacts bySlice = tampered("hevc.ts", key, [](Units &units) {
            const auto set =
                std::find_if(units.begin(), units.end(), [](auto &unit) { return kindOf(unit, "hevc") == 34; });
            QVERIFY(set != units.end());
            (*set)[5] = char((*set)[5] ^ 0x10);
        });
        QVERIFY(bySlice.doubts & kPicturesWithheld);
        // The first slice, and whether what came before is dropped.
        const PacketFacts byKey = tampered("hevc.ts", key, [](Units &units) {
            const auto slice =
                std::find_if(units.begin(), units.end(), [](auto &unit) { return isSlice(unit, "hevc"); });
            QVERIFY(slice != units.end());
            (*slice)[5] = char((*slice)[5] ^ 0x40);
        });
        QVERIFY(byKey.doubts & kPicturesWithheld);
    }

    void anyDamage_isReadWithinItsBounds_data() { addWholeRows(); }
    void anyDamage_isReadWithinItsBounds()
    {
        // Nothing but the memory checker can fail here.
        QFETCH(const QString, name);
        const VideoPackets video = readVideoPackets(paths[name]);
        std::minstd_rand random(1);
        PictureWindow window(video.unitsInASecond);
        for (int round = 0; round < 2000; ++round) {
            const AVPacket &source = *video.packets[random() % video.packets.size()];
            const int size = int(random() % unsigned(std::min(source.size, 400) + 1));
            ffmpeg::PacketPtr packet = ffmpeg::makePacket();
            QCOMPARE(av_new_packet(packet.get(), size), 0);
            std::memcpy(packet->data, source.data, std::size_t(size));
            for (unsigned flips = unsigned(random() % 6); size > 0 && flips > 0; --flips)
                packet->data[random() % unsigned(size)] ^= std::uint8_t(1U << random() % 8);
            window.append(video.scanner->scan(*packet));
        }
        QCOMPARE(int(window.packetEnd()), 2000);
    }

    void corruptPackets_areFlagged()
    {
        const VideoPackets video = readVideoPackets(paths["h264.ts"]);
        QVERIFY(!video.scanner->scan(*video.packets[0]).corrupt);
        video.packets[1]->flags |= AV_PKT_FLAG_CORRUPT;
        QVERIFY(video.scanner->scan(*video.packets[1]).corrupt);
    }

    void aMissingDisplayTime_isDoubted_whereTheOrderRestsOnOneNumber()
    {
        const auto doubts = [&](const QString &name) {
            const VideoPackets video = readVideoPackets(paths[name]);
            video.packets[0]->pts = AV_NOPTS_VALUE;
            return video.scanner->scan(*video.packets[0]).doubts;
        };
        QCOMPARE(doubts("h264.ts"), std::uint32_t{kNoDisplayTime});
        QCOMPARE(doubts("hevc.ts"), std::uint32_t{kNoDisplayTime});
        QCOMPARE(doubts("mpeg2.ts"), 0U);
    }

    void newExtradata_isDoubted()
    {
        const VideoPackets video = readVideoPackets(paths["h264.ts"]);
        QVERIFY(av_packet_new_side_data(video.packets[0].get(), AV_PKT_DATA_NEW_EXTRADATA, 8) != nullptr);
        QVERIFY(video.scanner->scan(*video.packets[0]).doubts & kParametersChanged);
    }

    void packetsWithLengthsInsteadOfStartCodes_areDoubted()
    {
        const QString path =
            makeWithFFmpeg(folder.path(), "h264.mp4", {"-i", paths["h264.ts"], "-c", "copy", "-f", "mp4"});
        const VideoPackets video = readVideoPackets(path);
        for (const ffmpeg::PacketPtr &packet : video.packets)
            QVERIFY(video.scanner->scan(*packet).doubts & kNotOnePicture);
    }

    void otherCodecs_haveNoScanner()
    {
        const QString path =
            makeWithFFmpeg(folder.path(), "mjpeg.avi", {"-f", "lavfi", "-i", "testsrc2=s=64x64:d=1", "-c:v", "mjpeg"});
        QVERIFY(!readVideoPackets(path).scanner);
    }
};

QTEST_GUILESS_MAIN(TestPacketScanner)
#include "tst_packetscanner.moc"
