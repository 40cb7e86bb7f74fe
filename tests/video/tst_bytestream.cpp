#include "tests/support/testclass.h"
#include "video/bitstream/accessunitreader.h"
#include "video/bitstream/bytestream.h"
#include "video/bitstream/parametersethistory.h"

#include <algorithm>
#include <random>
#include <vector>

using quorvale::Bytes;
using quorvale::ParameterSetHistory;

namespace {

using Unit = std::vector<std::uint8_t>;

std::vector<Unit> unitsIn(const Unit &bytes)
{
    std::vector<Unit> units;
    quorvale::ByteStream stream(bytes.data(), static_cast<std::int64_t>(bytes.size()));
    Bytes found;
    while (stream.next(found))
        units.emplace_back(found.data, found.data + found.size);
    return units;
}

// The same, byte by byte.
std::vector<Unit> unitsByHand(const Unit &bytes)
{
    std::vector<Unit> units;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i >= 2 && bytes[i] == 1 && bytes[i - 1] == 0 && bytes[i - 2] == 0) {
            if (!units.empty())
                units.back().resize(units.back().size() - 2);
            units.emplace_back();
        } else if (!units.empty()) {
            units.back().push_back(bytes[i]);
        }
    }
    for (Unit &unit : units) {
        while (!unit.empty() && unit.back() == 0)
            unit.pop_back();
    }
    return units;
}

} // namespace

/// Byte streams, and the parameter sets in them.
class TestByteStream : public QObject
{
    Q_OBJECT

private slots:
    void units_areWhatStandsBetweenStartCodes()
    {
        QCOMPARE(unitsIn({0, 0, 0, 1, 9, 16, 0, 0, 1, 0x65, 1, 2}), (std::vector<Unit>{{9, 16}, {0x65, 1, 2}}));
    }

    void units_loseTrailingZeros_andWhatComesBeforeTheFirstStartCode()
    {
        QCOMPARE(unitsIn({7, 7, 0, 0, 1, 5, 0, 0, 0, 0, 1, 6, 0, 0}), (std::vector<Unit>{{5}, {6}}));
    }

    void units_mayBeEmpty() { QCOMPARE(unitsIn({0, 0, 1, 0, 0, 1, 0, 0, 1}), (std::vector<Unit>{{}, {}, {}})); }

    void units_areNone_withoutAStartCode()
    {
        for (const Unit &bytes :
             {Unit{}, Unit{0}, Unit{0, 0}, Unit{0, 1}, Unit{1, 0, 0}, Unit{0, 0, 2, 1}, Unit{1, 1, 1}})
            QVERIFY(unitsIn(bytes).empty());
    }

    void units_areFound_inBytesThatLookLikeStartCodes()
    {
        std::minstd_rand random(4711);
        for (int round = 0; round < 3000; ++round) {
            Unit bytes(random() % 40);
            std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random() % 4 / 2); });
            QCOMPARE(unitsIn(bytes), unitsByHand(bytes));
        }
    }

    void bytesBeforeSlices_areParameterSetsAndMessages()
    {
        const auto before = [](quorvale::VideoCoding coding, const Unit &bytes) {
            return int(quorvale::bytesBeforeSlices(coding, bytes.data(), bytes.size()));
        };
        QCOMPARE(before(quorvale::VideoCoding::H264, {0, 0, 0, 1, 9, 16, 0, 0, 1, 0x67, 5, 0, 0, 1, 0x65, 7}), 11);
        QCOMPARE(before(quorvale::VideoCoding::Hevc, {0, 0, 1, 0x42, 1, 5, 0, 0, 1, 0x26, 1, 7}), 6);
        QCOMPARE(before(quorvale::VideoCoding::Mpeg2, {0, 0, 1, 0xB3, 5, 0, 0, 1, 0, 8, 0, 0, 1, 1, 7}), 10);
        QCOMPARE(before(quorvale::VideoCoding::Mpeg2, {0, 0, 1, 0xB3, 5}), 5);
    }

    void parameterSets_areNewRepeatedAndChanged_byTheirKey()
    {
        using Novelty = ParameterSetHistory::Novelty;
        ParameterSetHistory sets;
        const Unit one = {1, 2, 3};
        const Unit other = {1, 2, 4};
        const Unit shorter = {1, 2};
        const auto note = [&](std::uint32_t key, const Unit &set) {
            return sets.note(key, {set.data(), static_cast<std::int64_t>(set.size())});
        };
        QCOMPARE(note(7, one), Novelty::New);
        QCOMPARE(note(7, one), Novelty::Repeated);
        QCOMPARE(note(8, other), Novelty::New);
        QCOMPARE(note(7, other), Novelty::Changed);
        QCOMPARE(note(7, other), Novelty::Repeated);
        QCOMPARE(note(7, shorter), Novelty::Changed);
        QCOMPARE(note(7, one), Novelty::Changed);
        QCOMPARE(note(8, other), Novelty::Repeated);
    }

    void parameterSets_keepNothingThatIsTooLarge()
    {
        using Novelty = ParameterSetHistory::Novelty;
        ParameterSetHistory sets;
        const Unit large(ParameterSetHistory::kLargestSet + 1, 5);
        const auto size = static_cast<std::int64_t>(large.size());
        QCOMPARE(sets.note(1, {large.data(), size}), Novelty::Changed);
        QCOMPARE(sets.note(1, {large.data(), size}), Novelty::Changed);
        QCOMPARE(sets.note(1, {large.data(), size - 1}), Novelty::New);
        QCOMPARE(sets.note(1, {large.data(), size - 1}), Novelty::Repeated);
    }
};

TEST_CLASS(TestByteStream, quorvale::NoApplication)
#include "tst_bytestream.moc"
