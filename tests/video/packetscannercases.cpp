#include "tests/video/packetscannercases.h"

#include "tests/support/picture.h"
#include "tests/support/teststreams.h"
#include "tests/video/videopackets.h"
#include "video/exact/deliveryorder.h"
#include "video/ffvideo.h"

#include <QtTest>

#include <algorithm>
#include <cstring>
#include <random>
#include <stdexcept>

namespace {

PictureWindow windowOf(const VideoPackets &video)
{
    PictureWindow window(video.unitsInASecond);
    for (const quorvale::ffmpeg::PacketPtr &packet : video.packets)
        window.append(video.scanner->scan(*packet));
    return window;
}

} // namespace

std::size_t PacketScannerCases::secondKey(const QString &fileName) const
{
    const VideoPackets video = readVideoPackets(pathOf(fileName));
    std::size_t key = 1;
    while ((video.packets.at(key)->flags & AV_PKT_FLAG_KEY) == 0)
        ++key;
    return key;
}

PacketFacts PacketScannerCases::tampered(const QString &fileName, std::size_t at,
                                         const std::function<void(Units &)> &change) const
{
    const VideoPackets video = readVideoPackets(pathOf(fileName));
    for (std::size_t i = 0; i < at; ++i) {
        if (video.scanner->scan(*video.packets[i]).doubts != 0)
            throw std::runtime_error("the stream is doubted before it was touched");
    }
    Units units = unitsOf(*video.packets[at]);
    change(units);
    return video.scanner->scan(*packetOf(*video.packets[at], units));
}

void PacketScannerCases::addStreams() const
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVector<int>>("closedKeys");
    for (const ScannedStream &stream : codec.streams)
        QTest::newRow(qPrintable(stream.fileName)) << stream.fileName << stream.closedKeys;
}

void PacketScannerCases::initTestCase()
{
    for (const ScannedStream &scanned : codec.streams) {
        TestStream stream;
        stream.fileName = scanned.fileName;
        stream.encoder = scanned.encoder;
        stream.frames = kFrames;
        stream.interlaced = scanned.interlaced;
        QCOMPARE(makeStream(folder.path(), stream), pathOf(scanned.fileName));
    }
}

void PacketScannerCases::order_isTheOneOfDisplayTimes()
{
    QFETCH(const QString, name);
    const PictureWindow window = windowOf(readVideoPackets(pathOf(name)));
    QCOMPARE(int(window.pictureEnd()), kFrames);
    QCOMPARE(window.firstDoubt(0, window.packetEnd()), window.packetEnd());

    std::vector<std::int64_t> times;
    times.reserve(kFrames);
    for (const std::int64_t picture : deliveryOrder(window, 0))
        times.push_back(window.picture(picture).pts);
    QCOMPARE(int(times.size()), kFrames);
    QVERIFY(std::is_sorted(times.begin(), times.end()));
}

void PacketScannerCases::tableRows_areThoseOfTheTable()
{
    QFETCH(const QString, name);
    const PictureWindow window = windowOf(readVideoPackets(pathOf(name)));
    FFVideo reader;
    QVERIFY(reader.Open(QFile::encodeName(pathOf(name)).constData(), false, FFVideo::FF_ACCESS_READ));
    const std::vector<std::int64_t> order = deliveryOrder(window, 0);
    std::vector<int> expected; // picture 0 is always a row
    for (int number = 0; number < reader.frameCount; ++number) {
        if (number == 0 || window.picture(order[std::size_t(number)]).tableRow)
            expected.push_back(number);
    }
    std::vector<int> rows;
    rows.reserve(std::size_t(reader.keyFrames.count));
    for (int row = 0; row < reader.keyFrames.count; ++row)
        rows.push_back(reader.keyFrames.entries[row].frame);
    QCOMPARE(rows, expected);
}

void PacketScannerCases::closedKeys_areTheKeyPicturesOfTheseEncoders()
{
    QFETCH(const QString, name);
    QFETCH(const QVector<int>, closedKeys);
    const VideoPackets video = readVideoPackets(pathOf(name));
    QVector<int> flagged;
    QVector<int> found;
    for (int i = 0; i < int(video.packets.size()); ++i) {
        const AVPacket &packet = *video.packets[std::size_t(i)];
        if (video.scanner->scan(packet).closedKey)
            found.append(i);
        if ((packet.flags & AV_PKT_FLAG_KEY) != 0)
            flagged.append(i);
    }
    QCOMPARE(found, closedKeys.isEmpty() ? flagged : closedKeys);
    QVERIFY(!closedKeys.isEmpty() || found.size() >= 3);
}

void PacketScannerCases::picturesThatNoOtherOneRefersTo_areKnown_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("fewest");
    QTest::addColumn<int>("most");
    for (const ScannedStream &stream : codec.streams) {
        if (stream.mostUnreferred >= 0)
            QTest::newRow(qPrintable(stream.fileName))
                << stream.fileName << stream.fewestUnreferred << stream.mostUnreferred;
    }
}
void PacketScannerCases::picturesThatNoOtherOneRefersTo_areKnown()
{
    // Without them, the others are decoded as they are with them.
    QFETCH(const QString, name);
    QFETCH(const int, fewest);
    QFETCH(const int, most);
    const VideoPackets video = readVideoPackets(pathOf(name));
    FFVideo reader;
    QVERIFY(reader.Open(QFile::encodeName(pathOf(name)).constData(), true, FFVideo::FF_ACCESS_READ));
    const auto decoded = [&](bool all) {
        avcodec_flush_buffers(reader.videoCodec);
        const std::unique_ptr<PacketScanner> scanner =
            makePacketScanner(*reader.formatContext->streams[reader.videoStream]->codecpar);
        const quorvale::ffmpeg::FramePtr frame = quorvale::ffmpeg::makeFrame();
        QMap<std::int64_t, QByteArray> pictures;
        for (const quorvale::ffmpeg::PacketPtr &packet : video.packets) {
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

void PacketScannerCases::parameters_areNewOnce_andRepeatsAreNoDoubt()
{
    QFETCH(const QString, name);
    const VideoPackets video = readVideoPackets(pathOf(name));
    for (std::size_t i = 0; i < video.packets.size(); ++i) {
        const PacketFacts facts = video.scanner->scan(*video.packets[i]);
        QCOMPARE(facts.newParameters, i == 0);
        QCOMPARE(facts.doubts, 0U);
    }
}

void PacketScannerCases::aMissingFirstSlice_isDoubted()
{
    const PacketFacts facts = tampered(sliced, 5, [&](Units &units) { units.erase(findSlice(units, codec.name)); });
    QVERIFY(facts.doubts & kNotOnePicture);
}

void PacketScannerCases::aRepeatedFirstSlice_isDoubted()
{
    const PacketFacts facts = tampered(sliced, 5, [&](Units &units) {
        const QByteArray first = *findSlice(units, codec.name);
        units.push_back(first);
    });
    QVERIFY(facts.doubts & kNotOnePicture);
}

void PacketScannerCases::slicesInAnotherOrder_areDoubted()
{
    const PacketFacts facts = tampered(sliced, 5, [&](Units &units) {
        QVERIFY(units.size() > 2 && isSlice(units[units.size() - 2], codec.name));
        std::swap(units[units.size() - 2], units[units.size() - 1]);
    });
    QVERIFY(facts.doubts & kNotOnePicture);
}

void PacketScannerCases::slicesOfTwoPictures_areDoubted()
{
    const Units more = unitsOf(*readVideoPackets(pathOf(sliced)).packets[6]);
    const PacketFacts facts =
        tampered(sliced, 5, [&](Units &units) { units.insert(units.end(), more.begin(), more.end()); });
    QVERIFY(facts.doubts & kNotOnePicture);
}

void PacketScannerCases::aPacketWithoutAPicture_isDoubted()
{
    const auto doubts = [&](const Units &instead) {
        return tampered(sliced, 5, [&](Units &units) { units = instead; }).doubts;
    };
    QVERIFY(doubts({}) & kNotOnePicture);
    QVERIFY(doubts({QByteArray("\0\0\1", 3)}) & kNotOnePicture);
    QVERIFY(doubts({QByteArray("\1\2\3\4", 4)}) & kNotOnePicture);
}

void PacketScannerCases::theEndOfASequence_isDoubted()
{
    const QByteArray &end = codec.endOfSequence;
    QVERIFY(tampered(sliced, 5, [&](Units &units) { units.push_back(end); }).doubts & kNotOnePicture);
    QVERIFY(tampered(sliced, 5, [&](Units &units) { units.insert(units.begin(), end); }).doubts & kNotOnePicture);
}

void PacketScannerCases::aParameterSetThatChanges_isDoubted_data()
{
    QTest::addColumn<int>("kind");
    for (auto set = codec.parameterSets.constBegin(); set != codec.parameterSets.constEnd(); ++set)
        QTest::newRow(qPrintable(set.key())) << set.value();
}
void PacketScannerCases::aParameterSetThatChanges_isDoubted()
{
    QFETCH(const int, kind);
    const PacketFacts facts = tampered(sliced, secondKey(sliced), [&](Units &units) {
        const auto set = findKind(units, codec.name, kind);
        QVERIFY(set != units.end());
        (*set)[set->size() - 1] = char((*set)[set->size() - 1] ^ 0x40);
    });
    QVERIFY(facts.doubts & kParametersChanged);
}

void PacketScannerCases::aMissingDisplayTime_isDoubted_whereTheOrderRestsOnOneNumber()
{
    const VideoPackets video = readVideoPackets(pathOf(sliced));
    video.packets[0]->pts = AV_NOPTS_VALUE;
    QCOMPARE(video.scanner->scan(*video.packets[0]).doubts, codec.doubtWithoutDisplayTime);
}

void PacketScannerCases::anyDamage_isReadWithinItsBounds()
{
    // Nothing but the memory checker can fail here.
    QFETCH(const QString, name);
    const VideoPackets video = readVideoPackets(pathOf(name));
    std::minstd_rand random(1);
    PictureWindow window(video.unitsInASecond);
    for (int round = 0; round < 2000; ++round) {
        const AVPacket &source = *video.packets[random() % video.packets.size()];
        const int size = int(random() % unsigned(std::min(source.size, 400) + 1));
        quorvale::ffmpeg::PacketPtr packet = quorvale::ffmpeg::makePacket();
        QCOMPARE(av_new_packet(packet.get(), size), 0);
        std::memcpy(packet->data, source.data, std::size_t(size));
        for (unsigned flips = unsigned(random() % 6); size > 0 && flips > 0; --flips)
            packet->data[random() % unsigned(size)] ^= std::uint8_t(1U << random() % 8);
        window.append(video.scanner->scan(*packet));
    }
    QCOMPARE(int(window.packetEnd()), 2000);
}
