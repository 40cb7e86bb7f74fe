#include "tests/support/seededrandom.h"
#include "tests/support/transportmutant.h"

#include <QtTest>

#include <algorithm>

using transportmutant::Bytes;
using transportmutant::Kind;
using transportmutant::kPacketSize;
using transportmutant::mutate;

Q_DECLARE_METATYPE(transportmutant::Kind)

namespace {

constexpr std::size_t kPackets = 1000;
constexpr std::size_t kUnit = 5; // packets

// Packets that say which one they are, five to a unit; each unit begins with a picture packet that has two timestamps.
Bytes wholeStream(std::uint8_t mark = 0x55)
{
    Bytes stream;
    for (std::size_t packet = 0; packet < kPackets; ++packet) {
        Bytes bytes(kPacketSize, mark);
        const bool begins = packet % kUnit == 0;
        const Bytes header = {0x47, static_cast<std::uint8_t>(begins ? 0x41 : 0x01), 0x00,
                              static_cast<std::uint8_t>(0x10 | (packet & 0x0F))};
        std::copy(header.begin(), header.end(), bytes.begin());
        const Bytes unit = {0,    0,    1,    0xE0, 0,    0,    0x80, 0xC0, 10,  0x35,
                            0x12, 0x35, 0x56, 0x79, 0x15, 0x12, 0x35, 0x44, 0x79};
        if (begins)
            std::copy(unit.begin(), unit.end(), bytes.begin() + 4);
        bytes[kPacketSize - 2] = static_cast<std::uint8_t>(packet >> 8);
        bytes[kPacketSize - 1] = static_cast<std::uint8_t>(packet & 0xFF);
        stream.insert(stream.end(), bytes.begin(), bytes.end());
    }
    return stream;
}

// The packets' own numbers, in the stream's order.
std::vector<std::size_t> numbersIn(const Bytes &stream)
{
    std::vector<std::size_t> numbers;
    for (std::size_t end = kPacketSize; end <= stream.size(); end += kPacketSize)
        numbers.push_back(std::size_t{stream[end - 2]} << 8 | stream[end - 1]);
    return numbers;
}

std::size_t differences(const Bytes &a, const Bytes &b)
{
    std::size_t count = 0;
    for (std::size_t at = 0; at < std::min(a.size(), b.size()); ++at)
        count += a[at] != b[at] ? 1 : 0;
    return count;
}

std::uint64_t checksum(const Bytes &bytes)
{
    std::uint64_t sum = 0xCBF29CE484222325U; // FNV-1a
    for (const std::uint8_t byte : bytes)
        sum = (sum ^ byte) * 0x100000001B3U;
    return sum;
}

} // namespace

class TestTransportMutant : public QObject
{
    Q_OBJECT

private slots:
    void random_givesTheSameNumbers_everywhere()
    {
        SeededRandom random(1);
        QCOMPARE(random.next(), std::uint64_t{0x910A2DEC89025CC1});
        QCOMPARE(random.next(), std::uint64_t{0xBEEB8DA1658EEC67});
        QCOMPARE(random.below(0), std::size_t{0});
        for (int i = 0; i < 1000; ++i)
            QVERIFY(random.below(3) < 3);
    }

    void mutate_givesTheSameBytes_forTheSameSeed_data() { everyKind(); }
    void mutate_givesTheSameBytes_forTheSameSeed()
    {
        QFETCH(Kind, kind);
        for (std::uint64_t seed = 0; seed < 20; ++seed)
            QCOMPARE(mutate(whole, kind, seed, other), mutate(whole, kind, seed, other));
    }

    void mutate_changesTheStream_andDiffersFromSeedToSeed_data() { everyKind(); }
    void mutate_changesTheStream_andDiffersFromSeedToSeed()
    {
        QFETCH(Kind, kind);
        std::vector<std::uint64_t> sums;
        for (std::uint64_t seed = 0; seed < 20; ++seed) {
            const Bytes mutant = mutate(whole, kind, seed, other);
            QVERIFY(mutant != whole);
            sums.push_back(checksum(mutant));
        }
        std::sort(sums.begin(), sums.end());
        const auto different = std::unique(sums.begin(), sums.end()) - sums.begin();
        QVERIFY(kind == Kind::Emptied ? different == 1 : different > 10);
    }

    void mutate_takesAnything_data() { everyKind(); }
    void mutate_takesAnything()
    {
        QFETCH(Kind, kind);
        SeededRandom random(7);
        for (const std::size_t size : {0, 1, 3, 4, 187, 188, 189, 376, 5000}) {
            Bytes noise(size);
            for (std::uint8_t &byte : noise)
                byte = size % 2 == 0 ? random.byte() : static_cast<std::uint8_t>(random.below(2)); // start codes
            for (std::uint64_t seed = 0; seed < 200; ++seed) {
                const Bytes mutant = mutate(noise, kind, seed, noise);
                QVERIFY(mutant.size() <= (1 + 8) * (size + 32 * kPacketSize));
            }
        }
    }

    void bitsFlipped_changesAtMostOneByteAPlace()
    {
        for (std::uint64_t seed = 0; seed < 100; ++seed) {
            const Bytes mutant = mutate(whole, Kind::BitsFlipped, seed);
            QCOMPARE(mutant.size(), whole.size());
            QVERIFY(differences(mutant, whole) <= 32);
        }
    }

    void packetHeadersDamaged_leavesWhatPacketsCarry()
    {
        for (std::uint64_t seed = 0; seed < 100; ++seed) {
            const Bytes mutant = mutate(whole, Kind::PacketHeadersDamaged, seed);
            for (std::size_t at = 0; at < whole.size(); ++at)
                QVERIFY(mutant[at] == whole[at] || at % kPacketSize < 4);
        }
    }

    void pictureHeadersDamaged_hitsBytesAfterStartCodes()
    {
        for (std::uint64_t seed = 0; seed < 100; ++seed) {
            const Bytes mutant = mutate(whole, Kind::PictureHeadersDamaged, seed);
            for (std::size_t at = 0; at < whole.size(); ++at) {
                const std::size_t inUnit = at % (kUnit * kPacketSize);
                QVERIFY(mutant[at] == whole[at] || (inUnit >= 7 && inUnit < 7 + 32));
            }
        }
    }

    void dropping_takesPacketsOut_inOrder()
    {
        for (std::uint64_t seed = 0; seed < 50; ++seed) {
            const auto one = numbersIn(mutate(whole, Kind::PacketDropped, seed));
            QVERIFY(one.size() >= kPackets - 32 && one.size() < kPackets);
            QVERIFY(std::is_sorted(one.begin(), one.end()));
            const auto rows = numbersIn(mutate(whole, Kind::PacketsDropped, seed));
            QVERIFY(rows.size() >= kPackets - 32 * 16 && rows.size() < kPackets);
            QVERIFY(std::is_sorted(rows.begin(), rows.end()));
        }
    }

    void doubling_putsPacketsBesideThemselves()
    {
        for (std::uint64_t seed = 0; seed < 50; ++seed) {
            auto numbers = numbersIn(mutate(whole, Kind::PacketDoubled, seed));
            QVERIFY(numbers.size() > kPackets && numbers.size() <= kPackets + 32);
            QVERIFY(std::is_sorted(numbers.begin(), numbers.end()));
            numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
            QCOMPARE(numbers.size(), kPackets);
        }
    }

    void swapping_and_moving_keepEveryPacket_data()
    {
        QTest::addColumn<Kind>("kind");
        QTest::newRow("swapped") << Kind::PacketsSwapped;
        QTest::newRow("moved") << Kind::SegmentMoved;
    }
    void swapping_and_moving_keepEveryPacket()
    {
        QFETCH(Kind, kind);
        for (std::uint64_t seed = 0; seed < 50; ++seed) {
            auto numbers = numbersIn(mutate(whole, kind, seed));
            std::sort(numbers.begin(), numbers.end());
            QCOMPARE(numbers, numbersIn(whole));
        }
    }

    void splicing_bringsWholePacketsOfTheOther_inserted_orInstead()
    {
        bool inserted = false;
        bool replaced = false;
        for (std::uint64_t seed = 0; seed < 50; ++seed) {
            const Bytes mutant = mutate(whole, Kind::SegmentSplicedIn, seed, other);
            QCOMPARE(mutant.size() % kPacketSize, std::size_t{0});
            std::size_t foreign = 0;
            for (std::size_t at = 0; at < mutant.size(); at += kPacketSize)
                foreign += mutant[at + 100] == kOtherMark ? 1 : 0;
            QVERIFY(foreign >= 1 && foreign <= 400);
            inserted |= mutant.size() == whole.size() + foreign * kPacketSize;
            replaced |= mutant.size() == whole.size();
        }
        QVERIFY(inserted && replaced);
    }

    void repeating_makesTheStreamLonger()
    {
        for (std::uint64_t seed = 0; seed < 50; ++seed) {
            const auto numbers = numbersIn(mutate(whole, Kind::SegmentRepeated, seed));
            QVERIFY(numbers.size() > kPackets && numbers.size() <= kPackets + 8 * 400);
        }
    }

    void truncating_leavesABeginning_cutAtTheKindsPlace()
    {
        for (std::uint64_t seed = 0; seed < 100; ++seed) {
            const Bytes between = mutate(whole, Kind::TruncatedBetweenUnits, seed);
            const Bytes inUnit = mutate(whole, Kind::TruncatedInUnit, seed);
            const Bytes inPacket = mutate(whole, Kind::TruncatedInPacket, seed);
            for (const Bytes &mutant : {between, inUnit, inPacket}) {
                QVERIFY(mutant.size() < whole.size());
                QVERIFY(std::equal(mutant.begin(), mutant.end(), whole.begin()));
            }
            QCOMPARE(between.size() % (kUnit * kPacketSize), std::size_t{0});
            QCOMPARE(inUnit.size() % kPacketSize, std::size_t{0});
            QVERIFY(inUnit.size() % (kUnit * kPacketSize) != 0);
            QVERIFY(inPacket.size() % kPacketSize != 0);
        }
        QVERIFY(mutate(whole, Kind::Emptied, 1).empty());
    }

    void errorsMarked_setsTheIndicator_andNothingElse()
    {
        for (std::uint64_t seed = 0; seed < 50; ++seed) {
            const Bytes mutant = mutate(whole, Kind::ErrorsMarked, seed);
            for (std::size_t at = 0; at < whole.size(); ++at)
                QVERIFY(mutant[at] == whole[at] || (at % kPacketSize == 1 && mutant[at] == (whole[at] | 0x80)));
        }
    }

    void timeStampsChanged_leavesWhatMakesThemTimeStamps()
    {
        for (std::uint64_t seed = 0; seed < 50; ++seed) {
            const Bytes mutant = mutate(whole, Kind::TimeStampsChanged, seed);
            for (std::size_t at = 0; at < whole.size(); ++at) {
                const std::size_t inUnit = at % (kUnit * kPacketSize);
                QVERIFY(mutant[at] == whole[at] || (inUnit >= 13 && inUnit < 23));
            }
            for (std::size_t unit = 0; unit < mutant.size(); unit += kUnit * kPacketSize) {
                QCOMPARE(mutant[unit + 13] & 0xF1, 0x31);
                QCOMPARE(mutant[unit + 18] & 0xF1, 0x11);
                for (const std::size_t marker : {15, 17, 20, 22})
                    QCOMPARE(mutant[unit + marker] & 1, 1);
            }
        }
    }

private:
    static void everyKind()
    {
        QTest::addColumn<Kind>("kind");
        for (const Kind kind : transportmutant::kAllKinds)
            QTest::newRow(transportmutant::nameOf(kind)) << kind;
    }

    static constexpr std::uint8_t kOtherMark = 0xEE;
    const Bytes whole = wholeStream();
    const Bytes other = wholeStream(kOtherMark);
};

QTEST_APPLESS_MAIN(TestTransportMutant)
#include "tst_transportmutant.moc"
