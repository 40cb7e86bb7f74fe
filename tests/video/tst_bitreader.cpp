#include "video/bitstream/bitreader.h"

#include <QtTest>

#include <vector>

namespace {

BitReader over(const std::vector<std::uint8_t> &bytes)
{
    return {bytes.data(), bytes.size()};
}

} // namespace

class TestBitReader : public QObject
{
    Q_OBJECT

private slots:
    void bits_comeMostSignificantFirst_acrossBytes()
    {
        const std::vector<std::uint8_t> bytes = {0xA5, 0x3C, 0xFF, 0x01, 0x80};
        BitReader reader = over(bytes);
        QCOMPARE(reader.bits(1), 1U);
        QCOMPARE(reader.bits(3), 2U);
        QCOMPARE(reader.bits(0), 0U);
        QCOMPARE(reader.bits(8), 0x53U);
        QCOMPARE(reader.bits(20), 0xCFF01U);
        QVERIFY(reader.bit());
        QVERIFY(!reader.failed());
    }

    void bits_deliverThirtyTwoAtOnce()
    {
        const std::vector<std::uint8_t> bytes = {0x7F, 0xFF, 0xFF, 0xFF, 0x80};
        BitReader reader = over(bytes);
        reader.skip(1);
        QCOMPARE(reader.bits(32), 0xFFFFFFFFU);
        QVERIFY(!reader.failed());
    }

    void preventionBytes_areLeftOut_behindTwoZeros()
    {
        const std::vector<std::uint8_t> bytes = {0, 0, 3, 1, 3, 0, 0, 3, 0, 0, 3, 3};
        BitReader reader = over(bytes);
        for (const unsigned expected : {0U, 0U, 1U, 3U, 0U, 0U, 0U, 0U, 3U})
            QCOMPARE(reader.bits(8), expected);
        QVERIFY(!reader.failed());
        QCOMPARE(reader.bits(8), 0U);
        QVERIFY(reader.failed());
    }

    void number_readsExponentialGolombCodes()
    {
        // 1 | 010 | 011 | 00100 | 00111 | 0001000 | padding
        const std::vector<std::uint8_t> bytes = {0b10100110, 0b01000011, 0b10001000};
        BitReader reader = over(bytes);
        for (const unsigned expected : {0U, 1U, 2U, 3U, 6U, 7U})
            QCOMPARE(reader.number(), expected);
        QVERIFY(!reader.failed());
    }

    void number_readsTheLargestOneThatFits()
    {
        // 31 zeros, a one and 31 ones.
        const std::vector<std::uint8_t> bytes = {0, 0, 3, 0, 1, 0xFF, 0xFF, 0xFF, 0xFE};
        BitReader reader = over(bytes);
        QCOMPARE(reader.number(), 0xFFFFFFFEU);
        QVERIFY(!reader.failed());
    }

    void number_fails_whereItDoesNotFit()
    {
        const std::vector<std::uint8_t> bytes(64, 0);
        BitReader reader = over(bytes);
        QCOMPARE(reader.number(), 0U);
        QVERIFY(reader.failed());
    }

    void everything_isZero_behindTheEnd()
    {
        const std::vector<std::uint8_t> bytes = {0xFF};
        BitReader reader = over(bytes);
        QCOMPARE(reader.bits(9), 0U);
        QVERIFY(reader.failed());
        QCOMPARE(reader.bits(4), 0U);
        QCOMPARE(reader.number(), 0U);
        BitReader empty(nullptr, 0);
        QVERIFY(!empty.bit());
        QVERIFY(empty.failed());
    }

    void skip_passesMoreThanAWordAtOnce()
    {
        std::vector<std::uint8_t> bytes(12, 0x55);
        bytes.push_back(0xC0);
        BitReader reader = over(bytes);
        reader.skip(96);
        QCOMPARE(reader.bits(2), 3U);
        QVERIFY(!reader.failed());
        reader.skip(1000000000);
        QVERIFY(reader.failed());
    }
};

QTEST_APPLESS_MAIN(TestBitReader)
#include "tst_bitreader.moc"
