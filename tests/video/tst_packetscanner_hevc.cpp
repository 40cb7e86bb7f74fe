#include "tests/video/packetscannercases.h"

#include <QtTest>

namespace {

ScannedCodec hevc()
{
    const auto encoder = [](const char *parameters) {
        return QStringList{"-c:v",      "libx265",      "-preset",
                           "ultrafast", "-x265-params", QStringLiteral("keyint=24:log-level=none:") + parameters};
    };
    ScannedStream open{"hevc-open.ts", encoder("bframes=4:b-pyramid=1:open-gop=1")};
    open.fewestUnreferred = 20; // some of the B pictures
    open.mostUnreferred = 60;
    ScannedStream layers{"hevc-layers.ts", encoder("temporal-layers=1")};
    layers.fewestUnreferred = 20; // of the highest layer alone
    layers.mostUnreferred = 60;
    ScannedCodec codec;
    codec.name = "hevc";
    codec.streams = {{"hevc.ts", encoder("slices=2:open-gop=0")}, open, layers};
    codec.endOfSequence = QByteArray("\0\0\1\x48\x01\x80", 6);
    codec.parameterSets = {{"video", 32}, {"sequence", 33}, {"picture", 34}};
    codec.doubtWithoutDisplayTime = kNoDisplayTime;
    return codec;
}

} // namespace

class TestPacketScannerHevc : public PacketScannerCases
{
    Q_OBJECT

public:
    TestPacketScannerHevc()
        : PacketScannerCases(hevc())
    {
    }

private slots:
    void picturesThatMayBeWithheld_areDoubted()
    {
        const std::size_t key = secondKey(sliced);
        // Two numbers 0, dependent slices, and then whether slices say if they are output.
        const PacketFacts bySlice = tampered(sliced, key, [](Units &units) {
            const auto set = findKind(units, "hevc", 34);
            QVERIFY(set != units.end());
            (*set)[5] = char((*set)[5] ^ 0x10);
        });
        QVERIFY(bySlice.doubts & kPicturesWithheld);
        // The first slice, and whether what came before is dropped.
        const PacketFacts byKey = tampered(sliced, key, [](Units &units) {
            const auto slice = findSlice(units, "hevc");
            QVERIFY(slice != units.end());
            (*slice)[5] = char((*slice)[5] ^ 0x40);
        });
        QVERIFY(byKey.doubts & kPicturesWithheld);
    }
};

QTEST_GUILESS_MAIN(TestPacketScannerHevc)
#include "tst_packetscanner_hevc.moc"
