#include "tests/video/accessunitcases.h"

#include "tests/support/picture.h"
#include "tests/support/seededrandom.h"
#include "tests/support/teststreams.h"
#include "video/ffvideo.h"

#include <QtTest>

#include <algorithm>
#include <stdexcept>
#include <tuple>
#include <vector>

using namespace quorvale;

namespace {

AccessUnit readPacket(AccessUnitReader &reader, const AVPacket &packet)
{
    return reader.read(packet.data, std::size_t(packet.size));
}

} // namespace

std::size_t AccessUnitCases::secondKey(const QString &fileName) const
{
    const VideoPackets video = readVideoPackets(pathOf(fileName));
    std::size_t key = 1;
    while ((video.packets.at(key)->flags & AV_PKT_FLAG_KEY) == 0)
        ++key;
    return key;
}

AccessUnit AccessUnitCases::tampered(const QString &fileName, std::size_t at,
                                     const std::function<void(NalUnits &)> &change) const
{
    const VideoPackets video = readVideoPackets(pathOf(fileName));
    const std::unique_ptr<AccessUnitReader> reader = makeReader();
    for (std::size_t i = 0; i < at; ++i) {
        const AccessUnit unit = readPacket(*reader, *video.packets[i]);
        if (!unit.onePicture || unit.parametersChanged || unit.mayWithholdOutput)
            throw std::runtime_error("the stream is doubtful before it was touched");
    }
    NalUnits units = nalUnitsOf(*video.packets[at]);
    change(units);
    const QByteArray bytes = bytesOf(units);
    return reader->read(reinterpret_cast<const std::uint8_t *>(bytes.constData()), std::size_t(bytes.size()));
}

void AccessUnitCases::addStreams() const
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVector<int>>("randomAccessPoints");
    for (const UnitStream &stream : coding.streams)
        QTest::newRow(qPrintable(stream.fileName)) << stream.fileName << stream.randomAccessPoints;
}

void AccessUnitCases::initTestCase()
{
    for (const UnitStream &wanted : coding.streams) {
        TestStream stream;
        stream.fileName = wanted.fileName;
        stream.encoder = wanted.encoder;
        stream.frames = kFrames;
        stream.interlaced = wanted.interlaced;
        QCOMPARE(makeStream(folder.path(), stream), pathOf(wanted.fileName));
    }
}

void AccessUnitCases::outputOrder_isTheOneOfDisplayTimes()
{
    QFETCH(const QString, name);
    const VideoPackets video = readVideoPackets(pathOf(name));
    QCOMPARE(int(video.packets.size()), kFrames);
    const std::unique_ptr<AccessUnitReader> reader = makeReader();
    std::vector<std::tuple<int, std::int64_t, std::int64_t>> pictures; // sequence, count, time
    int sequence = 0;
    for (const ffmpeg::PacketPtr &packet : video.packets) {
        const AccessUnit unit = readPacket(*reader, *packet);
        QVERIFY(unit.onePicture);
        QVERIFY(!unit.bothFields);
        QVERIFY(!unit.mayWithholdOutput);
        QCOMPARE(int(unit.structure), int(PictureStructure::Frame));
        sequence += unit.startsSequence ? 1 : 0;
        pictures.emplace_back(sequence, unit.pictureOrderCount, packet->pts);
    }
    std::sort(pictures.begin(), pictures.end());
    QVERIFY(std::is_sorted(pictures.begin(), pictures.end(),
                           [](const auto &a, const auto &b) { return std::get<2>(a) < std::get<2>(b); }));
}

void AccessUnitCases::randomAccessPoints_areThoseOfTheseEncoders()
{
    QFETCH(const QString, name);
    QFETCH(const QVector<int>, randomAccessPoints);
    const VideoPackets video = readVideoPackets(pathOf(name));
    const std::unique_ptr<AccessUnitReader> reader = makeReader();
    QVector<int> flagged;
    QVector<int> found;
    for (int i = 0; i < int(video.packets.size()); ++i) {
        const AVPacket &packet = *video.packets[std::size_t(i)];
        if (readPacket(*reader, packet).randomAccess != RandomAccess::None)
            found.append(i);
        if ((packet.flags & AV_PKT_FLAG_KEY) != 0)
            flagged.append(i);
    }
    QCOMPARE(found, randomAccessPoints.isEmpty() ? flagged : randomAccessPoints);
    QVERIFY(!randomAccessPoints.isEmpty() || found.size() >= 3);
}

void AccessUnitCases::picturesThatNoOtherOneRefersTo_areKnown_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("fewest");
    QTest::addColumn<int>("most");
    for (const UnitStream &stream : coding.streams) {
        if (stream.mostUnreferred >= 0)
            QTest::newRow(qPrintable(stream.fileName))
                << stream.fileName << stream.fewestUnreferred << stream.mostUnreferred;
    }
}
void AccessUnitCases::picturesThatNoOtherOneRefersTo_areKnown()
{
    // Without them, the others are decoded as they are with them.
    QFETCH(const QString, name);
    QFETCH(const int, fewest);
    QFETCH(const int, most);
    const VideoPackets video = readVideoPackets(pathOf(name));
    FFVideo opened;
    QVERIFY(opened.Open(QFile::encodeName(pathOf(name)).constData(), true, FFVideo::FF_ACCESS_READ));
    const auto decoded = [&](bool all) {
        avcodec_flush_buffers(opened.videoCodec);
        const std::unique_ptr<AccessUnitReader> reader = makeReader();
        const ffmpeg::FramePtr frame = ffmpeg::makeFrame();
        QMap<std::int64_t, QByteArray> pictures;
        for (const ffmpeg::PacketPtr &packet : video.packets) {
            if (!readPacket(*reader, *packet).isReference && !all)
                continue;
            if (avcodec_send_packet(opened.videoCodec, packet.get()) == 0 &&
                avcodec_receive_frame(opened.videoCodec, frame.get()) == 0)
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

void AccessUnitCases::parameters_areNewOnce_andRepeatsChangeNothing()
{
    QFETCH(const QString, name);
    const VideoPackets video = readVideoPackets(pathOf(name));
    const std::unique_ptr<AccessUnitReader> reader = makeReader();
    for (std::size_t i = 0; i < video.packets.size(); ++i) {
        const AccessUnit unit = readPacket(*reader, *video.packets[i]);
        QCOMPARE(unit.newParameters, i == 0);
        QVERIFY(!unit.parametersChanged);
    }
}

void AccessUnitCases::aMissingFirstSlice_isNotOnePicture()
{
    QVERIFY(!tampered(sliced, 5, [&](NalUnits &units) { units.erase(findSlice(units, coding.name)); }).onePicture);
}

void AccessUnitCases::aRepeatedFirstSlice_isNotOnePicture()
{
    const AccessUnit unit = tampered(sliced, 5, [&](NalUnits &units) {
        const QByteArray first = *findSlice(units, coding.name);
        units.push_back(first);
    });
    QVERIFY(!unit.onePicture);
}

void AccessUnitCases::slicesInAnotherOrder_areNotOnePicture()
{
    const AccessUnit unit = tampered(sliced, 5, [&](NalUnits &units) {
        QVERIFY(units.size() > 2 && isSlice(units[units.size() - 2], coding.name));
        std::swap(units[units.size() - 2], units[units.size() - 1]);
    });
    QVERIFY(!unit.onePicture);
}

void AccessUnitCases::slicesOfTwoPictures_areNotOnePicture()
{
    const NalUnits more = nalUnitsOf(*readVideoPackets(pathOf(sliced)).packets[6]);
    const AccessUnit unit =
        tampered(sliced, 5, [&](NalUnits &units) { units.insert(units.end(), more.begin(), more.end()); });
    QVERIFY(!unit.onePicture);
    QVERIFY(!unit.bothFields);
}

void AccessUnitCases::aUnitWithoutAPicture_isNotOnePicture()
{
    const auto isOnePicture = [&](const NalUnits &instead) {
        return tampered(sliced, 5, [&](NalUnits &units) { units = instead; }).onePicture;
    };
    QVERIFY(isOnePicture(nalUnitsOf(*readVideoPackets(pathOf(sliced)).packets[5])));
    QVERIFY(!isOnePicture({}));
    QVERIFY(!isOnePicture({QByteArray("\0\0\1", 3)}));
    QVERIFY(!isOnePicture({QByteArray("\1\2\3\4", 4)}));
}

void AccessUnitCases::theEndOfASequence_isNotOnePicture()
{
    const QByteArray &end = coding.endOfSequence;
    QVERIFY(!tampered(sliced, 5, [&](NalUnits &units) { units.push_back(end); }).onePicture);
    QVERIFY(!tampered(sliced, 5, [&](NalUnits &units) { units.insert(units.begin(), end); }).onePicture);
}

void AccessUnitCases::aParameterSetThatChanges_isTold_data()
{
    QTest::addColumn<int>("type");
    for (auto set = coding.parameterSets.constBegin(); set != coding.parameterSets.constEnd(); ++set)
        QTest::newRow(qPrintable(set.key())) << set.value();
}
void AccessUnitCases::aParameterSetThatChanges_isTold()
{
    QFETCH(const int, type);
    const AccessUnit unit = tampered(sliced, secondKey(sliced), [&](NalUnits &units) {
        const auto set = findType(units, coding.name, type);
        QVERIFY(set != units.end());
        (*set)[set->size() - 1] = char((*set)[set->size() - 1] ^ 0x40);
    });
    QVERIFY(unit.parametersChanged);
}

void AccessUnitCases::anyDamage_isReadWithinItsBounds()
{
    // Nothing but the memory checker can fail here, and a count of units that are read as if nothing had happened.
    QFETCH(const QString, name);
    const VideoPackets video = readVideoPackets(pathOf(name));
    const std::unique_ptr<AccessUnitReader> reader = makeReader();
    SeededRandom random(1);
    int accepted = 0;
    constexpr int kRounds = 4000;
    for (int round = 0; round < kRounds; ++round) {
        const AVPacket &source = *video.packets[random.below(video.packets.size())];
        // A vector of its own: the memory checker sees what is read after its end.
        std::vector<std::uint8_t> bytes(source.data,
                                        source.data + random.below(std::size_t(std::min(source.size, 400)) + 1));
        for (std::size_t flips = random.below(6); !bytes.empty() && flips > 0; --flips)
            bytes[random.below(bytes.size())] ^= std::uint8_t(1U << random.below(8));
        accepted += reader->read(bytes.data(), bytes.size()).onePicture ? 1 : 0;
    }
    QVERIFY(accepted < kRounds);
}
