#include "video/exact/keptpackets.h"
#include "video/exact/loadedpackets.h"
#include "video/ffmpeg/compat.h"

#include <QtTest>

#include <algorithm>
#include <cstring>

using namespace quorvale;

namespace {

constexpr WaysIn kNoWays = {-1, -1, -1};

// A packet of `size` bytes that all hold `value`, in memory of `memory` bytes.
ffmpeg::PacketPtr packetOf(int size, char value, int memory = 0)
{
    ffmpeg::PacketPtr packet = ffmpeg::makePacket();
    if (av_new_packet(packet.get(), std::max(size, memory)) < 0)
        return packet;
    av_shrink_packet(packet.get(), size);
    std::memset(packet->data, value, std::size_t(size));
    packet->pts = value;
    return packet;
}

PlannedPacket planned(std::int64_t index, bool isNeeded = true)
{
    PlannedPacket packet;
    packet.packet.size = 10;
    packet.index = PacketIndex(index);
    packet.isNeeded = isNeeded;
    return packet;
}

} // namespace

/// Packets in memory: those that a scan keeps, and those that are loaded for a plan.
class TestKeptPackets : public QObject
{
    Q_OBJECT

private:
    ffmpeg::PacketPtr out = ffmpeg::makePacket();

private slots:
    void read_deliversWhatWasKept_asOftenAsItIsAskedFor()
    {
        KeptPackets kept;
        for (int i = 0; i < 5; ++i)
            kept.keep(PacketIndex(std::int64_t{100 + i}), *packetOf(10, char(i)));
        for (const int i : {3, 0, 4, 3}) {
            QVERIFY(kept.read(planned(100 + i), kNoWays, *out));
            QCOMPARE(out->size, 10);
            QCOMPARE(int(out->data[9]), i);
            QCOMPARE(int(out->pts), i);
        }
        QVERIFY(!kept.read(planned(99), kNoWays, *out));
        QVERIFY(!kept.read(planned(105), kNoWays, *out));
        kept.clear();
        QVERIFY(!kept.read(planned(103), kNoWays, *out));
    }

    void keep_takesNothingAfterAGap()
    {
        KeptPackets kept;
        kept.keep(PacketIndex(std::int64_t{0}), *packetOf(10, 1));
        kept.keep(PacketIndex(std::int64_t{2}), *packetOf(10, 2));
        kept.keep(PacketIndex(std::int64_t{1}), *packetOf(10, 3));
        QVERIFY(kept.read(planned(0), kNoWays, *out));
        QVERIFY(!kept.read(planned(1), kNoWays, *out));
        QVERIFY(!kept.read(planned(2), kNoWays, *out));
    }

    void keep_takesTheFirstOnes_asManyAsThereIsRoomFor()
    {
        constexpr int kSize = 16 * 1024 * 1024;
        KeptPackets kept;
        for (int i = 0; i < 5; ++i)
            kept.keep(PacketIndex(std::int64_t{i}), *packetOf(i == 4 ? 10 : kSize, char(i)));
        QVERIFY(kept.read(planned(2), kNoWays, *out)); // 48 MiB
        QVERIFY(!kept.read(planned(3), kNoWays, *out));
        QVERIFY(!kept.read(planned(4), kNoWays, *out));
    }

    void whatIsKept_takesNoMoreMemoryThanItsBytes()
    {
        KeptPackets kept;
        kept.keep(PacketIndex(), *packetOf(1000, 7, 200000));
        QVERIFY(kept.read(planned(0), kNoWays, *out));
        QCOMPARE(out->size, 1000);
        QCOMPARE(int(out->data[999]), 7);
        QVERIFY(std::size_t(out->buf->size) < 2000);
    }

    void load_takesWhatAPlanNeeds_andDeliversItInOrderOnce()
    {
        KeptPackets kept;
        for (int i = 0; i < 6; ++i)
            kept.keep(PacketIndex(std::int64_t{i}), *packetOf(10, char(i)));
        RunPlan plan;
        plan.start.primers.push_back({{planned(0)}, kNoWays});
        plan.packets = {planned(2), planned(3, false), planned(4)};
        QCOMPARE(LoadedPackets::bytesOf(plan), std::int64_t{30});
        const std::unique_ptr<LoadedPackets> loaded = LoadedPackets::load(plan, kept);
        kept.clear();
        QVERIFY(loaded);
        QVERIFY(!loaded->read(planned(2), kNoWays, *out)); // not its turn
        QVERIFY(loaded->read(planned(0), kNoWays, *out));
        QVERIFY(loaded->read(planned(2), kNoWays, *out));
        QCOMPARE(int(out->data[0]), 2);
        QVERIFY(loaded->read(planned(3, false), kNoWays, *out));
        QCOMPARE(out->size, 0);
        QVERIFY(loaded->read(planned(4), kNoWays, *out));
        QVERIFY(!loaded->read(planned(4), kNoWays, *out));
    }

    void load_fails_whereAPacketIsMissing()
    {
        KeptPackets kept;
        kept.keep(PacketIndex(), *packetOf(10, 0));
        RunPlan plan;
        plan.packets = {planned(0), planned(1, false)};
        QVERIFY(!LoadedPackets::load(plan, kept));
    }
};

QTEST_GUILESS_MAIN(TestKeptPackets)
#include "tst_keptpackets.moc"
