#include "tests/support/testclass.h"
#include "video/bitstream/bitreader.h"

#include <vector>

using quorvale::BitReader;

namespace {

BitReader over(const std::vector<std::uint8_t> &bytes)
{
    return BitReader({bytes.data(), static_cast<std::int64_t>(bytes.size())});
}

} // namespace

class TestBitReader : public QObject
{
    Q_OBJECT

private slots:
    void readBits_takesTheMostSignificantFirst_acrossBytes()
    {
        const std::vector<std::uint8_t> bytes = {0xA5, 0x3C, 0xFF, 0x01, 0x80};
        BitReader reader = over(bytes);
        QCOMPARE(reader.readBits(1), 1U);
        QCOMPARE(reader.readBits(3), 2U);
        QCOMPARE(reader.readBits(0), 0U);
        QCOMPARE(reader.readBits(8), 0x53U);
        QCOMPARE(reader.readBits(20), 0xCFF01U);
        QVERIFY(reader.readFlag());
        QVERIFY(!reader.failed());
    }

    void readBits_deliversThirtyTwoAtOnce()
    {
        const std::vector<std::uint8_t> bytes = {0x7F, 0xFF, 0xFF, 0xFF, 0x80};
        BitReader reader = over(bytes);
        reader.skipBits(1);
        QCOMPARE(reader.readBits(32), 0xFFFFFFFFU);
        QVERIFY(!reader.failed());
    }

    void emulationPreventionBytes_areLeftOut_afterTwoZeros()
    {
        const std::vector<std::uint8_t> bytes = {0, 0, 3, 1, 3, 0, 0, 3, 0, 0, 3, 3};
        BitReader reader = over(bytes);
        for (const unsigned expected : {0U, 0U, 1U, 3U, 0U, 0U, 0U, 0U, 3U})
            QCOMPARE(reader.readBits(8), expected);
        QVERIFY(!reader.failed());
        QCOMPARE(reader.readBits(8), 0U);
        QVERIFY(reader.failed());
    }

    void readUe_readsExponentialGolombCodes()
    {
        // 1 | 010 | 011 | 00100 | 00111 | 0001000 | padding
        const std::vector<std::uint8_t> bytes = {0b10100110, 0b01000011, 0b10001000};
        BitReader reader = over(bytes);
        for (const unsigned expected : {0U, 1U, 2U, 3U, 6U, 7U})
            QCOMPARE(reader.readUe(), expected);
        QVERIFY(!reader.failed());
    }

    void readSe_alternatesBetweenTheSigns()
    {
        // 1 | 010 | 011 | 00100 | 00101 | padding
        const std::vector<std::uint8_t> bytes = {0b10100110, 0b01000010, 0b10000000};
        BitReader reader = over(bytes);
        for (const int expected : {0, 1, -1, 2, -2})
            QCOMPARE(reader.readSe(), expected);
        QVERIFY(!reader.failed());
    }

    void readSe_readsTheLargestAndTheLeast()
    {
        // codeNum 2^32 - 3 and 2^32 - 2
        const std::vector<std::uint8_t> largest = {0, 0, 3, 0, 1, 0xFF, 0xFF, 0xFF, 0xFC};
        const std::vector<std::uint8_t> least = {0, 0, 3, 0, 1, 0xFF, 0xFF, 0xFF, 0xFE};
        BitReader reader = over(largest);
        QCOMPARE(reader.readSe(), INT32_MAX);
        QVERIFY(!reader.failed());
        reader = over(least);
        QCOMPARE(reader.readSe(), -INT32_MAX);
        QVERIFY(!reader.failed());
    }

    void threes_areBytesLikeOthers_whereThereIsNoEmulationPrevention()
    {
        const std::vector<std::uint8_t> bytes = {0, 0, 3, 1};
        BitReader reader({bytes.data(), 4}, BitReader::EmulationPrevention::No);
        QCOMPARE(reader.readBits(32), 0x301U);
        QVERIFY(!reader.failed());
    }

    void isByteAligned_isSo_everyEightBits()
    {
        const std::vector<std::uint8_t> bytes = {0, 0, 3, 1, 2};
        BitReader reader = over(bytes);
        for (int bit = 0; bit < 32; ++bit) {
            QCOMPARE(reader.isByteAligned(), bit % 8 == 0);
            reader.readFlag();
        }
        QVERIFY(!reader.failed());
    }

    void readUe_readsTheLargestOneThatFits()
    {
        // 31 zeros, a one and 31 ones.
        const std::vector<std::uint8_t> bytes = {0, 0, 3, 0, 1, 0xFF, 0xFF, 0xFF, 0xFE};
        BitReader reader = over(bytes);
        QCOMPARE(reader.readUe(), 0xFFFFFFFEU);
        QVERIFY(!reader.failed());
    }

    void readUe_fails_whereItDoesNotFit()
    {
        const std::vector<std::uint8_t> bytes(64, 0);
        BitReader reader = over(bytes);
        QCOMPARE(reader.readUe(), 0U);
        QVERIFY(reader.failed());
    }

    void everything_isZero_afterTheEnd()
    {
        const std::vector<std::uint8_t> bytes = {0xFF};
        BitReader reader = over(bytes);
        QCOMPARE(reader.readBits(9), 0U);
        QVERIFY(reader.failed());
        QCOMPARE(reader.readBits(4), 0U);
        QCOMPARE(reader.readUe(), 0U);
        BitReader empty(quorvale::Bytes{});
        QVERIFY(!empty.readFlag());
        QVERIFY(empty.failed());
    }

    void skipBits_passesMoreThanAWordAtOnce()
    {
        std::vector<std::uint8_t> bytes(12, 0x55);
        bytes.push_back(0xC0);
        BitReader reader = over(bytes);
        reader.skipBits(96);
        QCOMPARE(reader.readBits(2), 3U);
        QVERIFY(!reader.failed());
        reader.skipBits(1000000000);
        QVERIFY(reader.failed());
    }
};

TEST_CLASS(TestBitReader, quorvale::NoApplication)
#include "tst_bitreader.moc"
