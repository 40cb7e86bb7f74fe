#include "tests/video/packetscannercases.h"

#include <QtTest>

namespace {

ScannedCodec mpeg2()
{
    const QStringList encoder{"-c:v", "mpeg2video", "-q:v", "3", "-g", "12", "-bf", "2"};
    ScannedStream plain{"mpeg2.ts", encoder};
    plain.fewestUnreferred = 55; // two of three
    plain.mostUnreferred = 60;
    ScannedCodec codec;
    codec.name = "mpeg2";
    codec.streams = {plain, {"mpeg2-interlaced.ts", encoder, true}};
    codec.endOfSequence = QByteArray("\0\0\1\xB7", 4);
    codec.parameterSets = {{"sequence", 0xB3}};
    return codec;
}

} // namespace

class TestPacketScannerMpeg2 : public PacketScannerCases
{
    Q_OBJECT

public:
    TestPacketScannerMpeg2()
        : PacketScannerCases(mpeg2())
    {
    }

private slots:
    void aTableOfItsOwn_isDoubted()
    {
        // A quantiser matrix extension behind the picture's header.
        const PacketFacts facts = tampered(sliced, 5, [](Units &units) {
            units.insert(findSlice(units, "mpeg2"), QByteArray("\0\0\1\xB5\x30\x10", 6));
        });
        QVERIFY(facts.doubts & kParametersChanged);
    }

    void fieldsOfAFrameInOnePacket_areDoubted()
    {
        const PacketFacts facts = tampered(sliced, 5, [](Units &units) {
            const auto coding = std::find_if(units.begin(), units.end(), [](auto &unit) {
                return kindOf(unit, "mpeg2") == 0xB5 && (unit[4] & 0xF0) == 0x80;
            });
            QVERIFY(coding != units.end());
            (*coding)[6] = char(((*coding)[6] & ~3) | 1); // a top field
        });
        QVERIFY(facts.doubts & kNotOnePicture);
    }
};

QTEST_GUILESS_MAIN(TestPacketScannerMpeg2)
#include "tst_packetscanner_mpeg2.moc"
