#pragma once

#include "tests/support/openvideo.h"
#include "tests/support/picture.h"
#include "tests/support/seededrandom.h"
#include "tests/support/teststreams.h"
#include "tests/video/nalunits.h"
#include "tests/video/videopackets.h"
#include "tests/video/writtenunits.h"

#include <QtTest>

#include <algorithm>
#include <functional>
#include <memory>
#include <tuple>
#include <vector>

namespace quorvale {

/// A stream to be made for the cases below.
struct UnitStream
{
    QString fileName;
    QStringList encoder;
    bool interlaced = false;
    /// The numbers of the packets at which decoding can begin; nothing: those that the demuxer calls key packets.
    QVector<int> randomAccessPoints{};
    /// At most, and about, how many pictures no other one refers to; -1: not tested.
    int fewestUnreferred = -1;
    int mostUnreferred = -1;
};

/// A coding, by what differs in its packets.
struct UnitCoding
{
    VideoCoding coding{};
    QString name;                     ///< as nalUnitType() takes it
    QVector<UnitStream> streams;      ///< the first one has several slices to a picture
    QByteArray endOfSequence;         ///< with its start code
    QByteArray filmGrain{};           ///< a SEI message, if it has such
    QMap<QString, int> parameterSets; ///< their types, by name
};

/// Compares what access units say about themselves with what decoding them shows, and tests modified units: the cases
/// that all codings have. The test of one coding derives from it and adds its own cases.
class AccessUnitCases : public QObject
{
    Q_OBJECT

protected:
    static constexpr int kFrames = 90; // of each stream

    explicit AccessUnitCases(UnitCoding which)
        : coding(std::move(which))
        , sliced(coding.streams.first().fileName)
    {
    }

    [[nodiscard]] QString pathOf(const QString &fileName) const { return folder.filePath(fileName); }
    [[nodiscard]] std::unique_ptr<AccessUnitReader> makeReader() const { return makeAccessUnitReader(coding.coding); }
    /// The number of the second packet that the demuxer calls a key packet.
    [[nodiscard]] std::size_t secondKey(const QString &fileName) const
    {
        const VideoPackets video = readVideoPackets(pathOf(fileName));
        std::size_t key = 1;
        while ((video.packets.at(key)->flags & AV_PKT_FLAG_KEY) == 0)
            ++key;
        return key;
    }
    /// Shows a reader the stream up to packet `at`, of which the units are changed; what it says of that one.
    [[nodiscard]] AccessUnit tampered(const QString &fileName, std::size_t at,
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
        return readUnit(*reader, bytesOf(units));
    }

    const UnitCoding coding;
    const QString sliced; ///< the stream with several slices to a picture
    QTemporaryDir folder;

private:
    static AccessUnit readPacket(AccessUnitReader &reader, const AVPacket &packet)
    {
        return reader.read(packet.data, std::size_t(packet.size));
    }
    void addStreams() const
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QVector<int>>("randomAccessPoints");
        for (const UnitStream &stream : coding.streams)
            QTest::newRow(qPrintable(stream.fileName)) << stream.fileName << stream.randomAccessPoints;
    }

private slots:
    void initTestCase()
    {
        for (const UnitStream &wanted : coding.streams) {
            TestStream stream{wanted.fileName, wanted.encoder, kFrames};
            stream.interlaced = wanted.interlaced;
            QCOMPARE(makeStream(folder.path(), stream), pathOf(wanted.fileName));
        }
    }

    void outputOrder_isTheOneOfDisplayTimes_data() { addStreams(); }
    void outputOrder_isTheOneOfDisplayTimes()
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
    void randomAccessPoints_areThoseOfTheseEncoders_data() { addStreams(); }
    void randomAccessPoints_areThoseOfTheseEncoders()
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
    void picturesThatNoOtherOneRefersTo_areKnown_data()
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
    void picturesThatNoOtherOneRefersTo_areKnown()
    {
        // Without them, the others are decoded as they are with them.
        QFETCH(const QString, name);
        QFETCH(const int, fewest);
        QFETCH(const int, most);
        const VideoPackets video = readVideoPackets(pathOf(name));
        FFVideo opened;
        QVERIFY(open(opened, pathOf(name)));
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
    void parameters_areNewOnce_andRepeatsChangeNothing_data() { addStreams(); }
    void parameters_areNewOnce_andRepeatsChangeNothing()
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

    void aMissingFirstSlice_isNotOnePicture()
    {
        QVERIFY(!tampered(sliced, 5, [&](NalUnits &units) { units.erase(findSlice(units, coding.name)); }).onePicture);
    }
    void aRepeatedFirstSlice_isNotOnePicture()
    {
        const AccessUnit unit = tampered(sliced, 5, [&](NalUnits &units) {
            const QByteArray first = *findSlice(units, coding.name);
            units.push_back(first);
        });
        QVERIFY(!unit.onePicture);
    }
    void slicesInAnotherOrder_areNotOnePicture()
    {
        const AccessUnit unit = tampered(sliced, 5, [&](NalUnits &units) {
            QVERIFY(units.size() > 2 && isSlice(units[units.size() - 2], coding.name));
            std::swap(units[units.size() - 2], units[units.size() - 1]);
        });
        QVERIFY(!unit.onePicture);
    }
    void slicesOfTwoPictures_areNotOnePicture()
    {
        const NalUnits more = nalUnitsOf(*readVideoPackets(pathOf(sliced)).packets[6]);
        const AccessUnit unit =
            tampered(sliced, 5, [&](NalUnits &units) { units.insert(units.end(), more.begin(), more.end()); });
        QVERIFY(!unit.onePicture);
        QVERIFY(!unit.bothFields);
    }
    void aUnitWithoutAPicture_isNotOnePicture()
    {
        const auto isOnePicture = [&](const NalUnits &instead) {
            return tampered(sliced, 5, [&](NalUnits &units) { units = instead; }).onePicture;
        };
        QVERIFY(isOnePicture(nalUnitsOf(*readVideoPackets(pathOf(sliced)).packets[5])));
        QVERIFY(!isOnePicture({}));
        QVERIFY(!isOnePicture({QByteArray("\0\0\1", 3)}));
        QVERIFY(!isOnePicture({QByteArray("\1\2\3\4", 4)}));
    }
    void theEndOfASequence_isNotOnePicture()
    {
        const QByteArray &end = coding.endOfSequence;
        QVERIFY(!tampered(sliced, 5, [&](NalUnits &units) { units.push_back(end); }).onePicture);
        QVERIFY(!tampered(sliced, 5, [&](NalUnits &units) { units.insert(units.begin(), end); }).onePicture);
    }
    void filmGrain_isADoubt_fromThereOn()
    {
        const VideoPackets video = readVideoPackets(pathOf(sliced));
        const std::unique_ptr<AccessUnitReader> reader = makeReader();
        for (std::size_t i = 0; i < 8; ++i) {
            NalUnits units = nalUnitsOf(*video.packets[i]);
            units.insert(units.begin(), i == 5 ? coding.filmGrain : QByteArray());
            QCOMPARE(readUnit(*reader, bytesOf(units)).onePicture, i < 5 || coding.filmGrain.isEmpty());
        }
    }
    void aParameterSetThatChanges_isTold_data()
    {
        QTest::addColumn<int>("type");
        for (auto set = coding.parameterSets.constBegin(); set != coding.parameterSets.constEnd(); ++set)
            QTest::newRow(qPrintable(set.key())) << set.value();
    }
    void aParameterSetThatChanges_isTold()
    {
        QFETCH(const int, type);
        const AccessUnit unit = tampered(sliced, secondKey(sliced), [&](NalUnits &units) {
            const auto set = findType(units, coding.name, type);
            QVERIFY(set != units.end());
            (*set)[set->size() - 1] = char((*set)[set->size() - 1] ^ 0x40);
        });
        QVERIFY(unit.parametersChanged);
    }

    void anyDamage_isReadWithinItsBounds_data() { addStreams(); }
    void anyDamage_isReadWithinItsBounds()
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
};

} // namespace quorvale
