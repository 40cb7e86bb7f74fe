#include "tests/support/testclass.h"
#include "tests/video/accessunitcases.h"

#include <set>

using namespace quorvale;

namespace {

UnitCoding hevcStreams()
{
    const auto encoder = [](const char *parameters) {
        return words("-c:v libx265 -preset ultrafast -x265-params keyint=24:log-level=none:" + QString(parameters));
    };
    UnitStream open{"hevc-open.ts", encoder("bframes=4:b-pyramid=1:open-gop=1")};
    open.fewestUnreferred = 20; // some of the B pictures
    open.mostUnreferred = 60;
    // How many sub-layers there are is what newer versions of x265 are told; older ones are told whether there are any.
    UnitStream layers{"hevc-layers.ts", encoder("temporal-layers=1")};
    layers.fewestUnreferred = 20; // of the highest sub-layer alone
    layers.mostUnreferred = 60;
    UnitStream twoLayers = layers;
    twoLayers.fileName = "hevc-two-layers.ts";
    twoLayers.encoder = encoder("temporal-layers=2");
    UnitCoding coding;
    coding.coding = VideoCoding::Hevc;
    coding.name = "hevc";
    coding.streams = {{"hevc.ts", encoder("slices=2:open-gop=0")}, open, layers, twoLayers};
    coding.endOfSequence = QByteArray("\0\0\1\x48\x01\x80", 6);
    coding.filmGrain = QByteArray("\0\0\1\x4E\1\x13\1\x80\x80", 9);
    coding.parameterSets = {{"VPS", 32}, {"SPS", 33}, {"PPS", 34}};
    return coding;
}

} // namespace

class TestAccessUnitHevc : public AccessUnitCases
{
    Q_OBJECT

public:
    TestAccessUnitHevc()
        : AccessUnitCases(hevcStreams())
    {
    }

private slots:
    void picturesThatMayBeWithheld_areTold()
    {
        const std::size_t key = secondKey(sliced);
        // output_flag_present_flag, after two ids 0 and dependent_slice_segments_enabled_flag
        const AccessUnit bySlice = tampered(sliced, key, [](NalUnits &units) {
            const auto pps = findType(units, "hevc", 34);
            QVERIFY(pps != units.end());
            (*pps)[5] = char((*pps)[5] ^ 0x10);
        });
        QVERIFY(bySlice.mayWithholdOutput);
        // no_output_of_prior_pics_flag, after first_slice_segment_in_pic_flag
        const AccessUnit byKey = tampered(sliced, key, [](NalUnits &units) {
            const auto slice = findSlice(units, "hevc");
            QVERIFY(slice != units.end());
            (*slice)[5] = char((*slice)[5] ^ 0x40);
        });
        QVERIFY(byKey.mayWithholdOutput);
    }

    void anotherLayer_isNotOnePicture()
    {
        const AccessUnit unit =
            tampered(sliced, 5, [](NalUnits &units) { units.back()[4] = char(units.back()[4] | 8); });
        QVERIFY(!unit.onePicture);
    }

    void raslPictures_areKnown_andSubLayers()
    {
        const VideoPackets video = readVideoPackets(pathOf("hevc-open.ts"));
        const std::unique_ptr<AccessUnitReader> reader = makeReader();
        std::int64_t count = 0; // of the latest random access point
        int rasl = 0;
        for (const ffmpeg::PacketPtr &packet : video.packets) {
            const AccessUnit unit = reader->read(packet->data, std::size_t(packet->size));
            QCOMPARE(unit.temporalId, std::uint8_t{0});
            if (unit.randomAccess != RandomAccess::None)
                count = unit.pictureOrderCount;
            QCOMPARE(unit.isRasl, unit.pictureOrderCount < count);
            rasl += unit.isRasl ? 1 : 0;
        }
        QVERIFY(rasl >= 6);
        std::set<int> subLayers; // of the one of these streams that has any
        for (const char *name : {"hevc-layers.ts", "hevc-two-layers.ts"}) {
            const VideoPackets layered = readVideoPackets(pathOf(name));
            const std::unique_ptr<AccessUnitReader> other = makeReader();
            for (const ffmpeg::PacketPtr &packet : layered.packets)
                subLayers.insert(other->read(packet->data, std::size_t(packet->size)).temporalId);
        }
        QCOMPARE(subLayers, (std::set<int>{0, 1}));
    }

    void references_arePicturesBeforeInDecodeOrder()
    {
        const VideoPackets video = readVideoPackets(pathOf("hevc-open.ts"));
        const std::unique_ptr<AccessUnitReader> reader = makeReader();
        std::set<std::int64_t> seen;
        int references = 0;
        for (const ffmpeg::PacketPtr &packet : video.packets) {
            const AccessUnit unit = reader->read(packet->data, std::size_t(packet->size));
            if (unit.startsSequence)
                seen.clear();
            QVERIFY(unit.referencesAreKnown);
            for (const std::int64_t reference : unit.references)
                QVERIFY(seen.count(reference) == 1);
            QCOMPARE(unit.references.empty(), unit.randomAccess != RandomAccess::None);
            references += int(unit.references.size());
            seen.insert(unit.pictureOrderCount);
        }
        QVERIFY(references >= kFrames);
    }
};

TEST_CLASS(TestAccessUnitHevc, QCoreApplication)
#include "tst_accessunit_hevc.moc"
