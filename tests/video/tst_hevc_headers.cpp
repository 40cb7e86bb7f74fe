#include "tests/support/testclass.h"
#include "tests/video/hevcsyntax.h"
#include "tests/video/writtenunits.h"
#include "video/bitstream/accessunitreader.h"

#include <memory>

using namespace quorvale;
using hevcsyntax::Pps;
using hevcsyntax::Slice;
using hevcsyntax::Sps;

namespace {

BitWriter bits()
{
    return {};
}

// One slice in a stream with these parameter sets, after an IDR picture.
struct Case
{
    Sps sps{};
    Pps pps{};
    Slice slice{};

    [[nodiscard]] AccessUnit read() const { return readWith({}); }
    // And with a second slice segment.
    [[nodiscard]] AccessUnit readWith(const QByteArray &second,
                                      HevcReferences references = HevcReferences::OfLists) const
    {
        const std::unique_ptr<AccessUnitReader> reader = makeAccessUnitReader(VideoCoding::Hevc, references);
        Slice idr;
        idr.nalUnitType = hevcsyntax::IdrNLp;
        readUnit(*reader, sps.write() + pps.write() + idr.write(sps, pps));
        return readUnit(*reader, slice.write(sps, pps) + second);
    }
};

// `listed`: pictures in each of its lists.
Case predicted(std::uint32_t type = Slice::P, std::uint32_t listed = 1)
{
    Case stream;
    stream.pps.numRefIdxDefaultActiveMinus1 = listed - 1;
    stream.slice.type = type;
    stream.slice.picOrderCntLsb = 4;
    stream.slice.shortTermRps = bits().flag(false).ue(2).ue(0).ue(0).flag(true).ue(1).flag(true);
    return stream;
}

Case withInterRps(const BitWriter &rps)
{
    Case stream = predicted(Slice::P, 4);
    // -1 and -3 (not used by the picture itself), +2
    stream.sps.shortTermRps = {bits().ue(2).ue(1).ue(0).flag(true).ue(1).flag(false).ue(1).flag(true)};
    stream.slice.shortTermRps = bits().flag(false).flag(true).append(rps);
    return stream;
}

using Counts = std::vector<std::int64_t>;

} // namespace

Q_DECLARE_METATYPE(Case)

/// What parameter sets and slice segment headers may hold, what counts as damage, and what a picture refers to.
class TestHevcHeaders : public QObject
{
    Q_OBJECT

private slots:
    void aHeaderWithEveryElement_isReadToItsEnd()
    {
        Case stream = predicted(Slice::B);
        stream.sps.temporalMvpEnabled = true;
        stream.sps.longTermPics = bits().ue(2).u(3, 4).flag(true).u(5, 4).flag(false);
        stream.pps.outputFlagPresent = stream.pps.cabacInitPresent = stream.pps.weightedPred = true;
        stream.pps.numExtraSliceHeaderBits = 2;
        stream.pps.sliceChromaQpOffsetsPresent = stream.pps.deblockingFilterOverrideEnabled = true;
        stream.pps.listsModificationPresent = stream.pps.sliceSegmentHeaderExtensionPresent = true;
        stream.pps.entropyCodingSyncEnabled = true;
        stream.slice.temporalMvpEnabled = true;
        // One of the SPS, one of the slice with all of its count.
        stream.slice.longTermPics = bits().ue(1).ue(1).u(0, 1).flag(false).u(9, 4).flag(true).flag(true).ue(1);
        // Three and two entries, each chosen among four pictures; the first of the second list is collocated.
        stream.slice.prediction = bits().flag(true).ue(2).ue(1).flag(true).u(0b11'00'01, 6).flag(true).u(0b10'00, 4);
        stream.slice.prediction->flag(true).flag(true).flag(false).ue(1).ue(4);
        stream.slice.chromaQpOffsets = bits().se(12).se(-12);
        stream.slice.loopFilters = bits().flag(true).flag(false).se(6).se(-6);
        stream.slice.entryPoints = bits().ue(1).ue(31).u(7, 32);
        stream.slice.headerExtension = bits().ue(2).u(0xFFFF, 16);
        const AccessUnit unit = stream.read();
        QVERIFY(unit.onePicture);
        QCOMPARE(unit.pictureOrderCount, std::int64_t{4});
        // 4 - 1, 4 - 3; lsb 3 without more of its count cannot be told; (4 - 16) with the lsb 9
        QCOMPARE(unit.references, (Counts{3, 1, -7}));
        QVERIFY(!unit.referencesAreKnown);
        // The bits before the slice data tell that all before them was understood.
        stream.slice.alignmentBitEqualToOne = false;
        QVERIFY(!stream.read().onePicture);
    }

    void valuesOutOfRange_areDamage_data()
    {
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<Case>("stream");
        const auto add = [](const char *name, bool accepted, Case stream, const auto &change) {
            change(stream);
            QTest::newRow(name) << accepted << stream;
        };
        const Case i;
        const Case p = predicted();
        add("nothing", true, p, [](Case &) {});
        add("slice_pic_parameter_set_id unknown", false, i, [](Case &c) { c.slice.ppsId = 1; });
        add("slice_pic_parameter_set_id 64", false, i, [](Case &c) { c.slice.ppsId = 64; });
        add("parameter sets of the highest ids", true, i, [](Case &c) {
            c.sps.id = c.pps.spsId = 15;
            c.pps.id = c.slice.ppsId = 63;
        });
        add("slice_type 3", false, i, [](Case &c) { c.slice.type = 3; });
        add("a random access point of P slices", false, p, [](Case &c) { c.slice.nalUnitType = hevcsyntax::Cra; });
        add("a random access point of a sub-layer", false, i, [](Case &c) {
            c.slice.nalUnitType = hevcsyntax::Cra;
            c.slice.temporalId = 1;
        });
        add("P without reference pictures", false, p, [](Case &c) { c.slice.shortTermRps.reset(); });
        add("P with pictures for later ones only", false, p,
            [](Case &c) { c.slice.shortTermRps = bits().flag(false).ue(1).ue(0).ue(0).flag(false); });
        add("more reference pictures than the buffer holds", false, p,
            [](Case &c) { c.sps.maxDecPicBufferingMinus1 = 1; });
        add("num_negative_pics 17", false, p, [](Case &c) {
            c.slice.shortTermRps = bits().flag(false).ue(17).ue(0);
            for (int k = 0; k < 17; ++k)
                c.slice.shortTermRps->ue(0).flag(true);
        });
        add("delta_poc_s0 beyond 15 bits", false, p,
            [](Case &c) { c.slice.shortTermRps = bits().flag(false).ue(1).ue(0).ue(32768).flag(true); });
        add("a set that the SPS does not have", false, p, [](Case &c) { c.slice.shortTermRps = bits().flag(true); });
        add("num_ref_idx 15", true, p, [](Case &c) { c.slice.prediction = bits().flag(true).ue(14).ue(0); });
        add("num_ref_idx 16", false, p, [](Case &c) { c.slice.prediction = bits().flag(true).ue(15).ue(0); });
        add("num_ref_idx 16 of the PPS", false, p, [](Case &c) { c.pps.numRefIdxDefaultActiveMinus1 = 15; });
        add("five_minus_max_num_merge_cand 4", true, p, [](Case &c) { c.slice.prediction = bits().flag(false).ue(4); });
        add("five_minus_max_num_merge_cand 5", false, p,
            [](Case &c) { c.slice.prediction = bits().flag(false).ue(5); });
        const auto collocated = [](Case &c, std::uint32_t index) {
            c.sps.temporalMvpEnabled = c.slice.temporalMvpEnabled = true;
            c.slice.prediction = bits().flag(true).ue(1).ue(index).ue(0);
        };
        add("collocated_ref_idx 1 of 2", true, p, [&](Case &c) { collocated(c, 1); });
        add("collocated_ref_idx 2 of 2", false, p, [&](Case &c) { collocated(c, 2); });
        const auto weighted = [](Case &c, std::uint32_t denominator, std::int32_t chroma, std::int32_t weight) {
            c.pps.weightedPred = true;
            c.slice.prediction = bits().flag(false).ue(denominator).se(chroma).flag(true).flag(true);
            c.slice.prediction->se(weight).se(5).se(1).se(2).se(3).se(4).ue(0);
        };
        add("weights", true, p, [&](Case &c) { weighted(c, 7, -7, 127); });
        add("luma_log2_weight_denom 8", false, p, [&](Case &c) { weighted(c, 8, -1, 0); });
        add("a chroma weight's denominator below 1", false, p, [&](Case &c) { weighted(c, 2, -3, 0); });
        add("delta_luma_weight 128", false, p, [&](Case &c) { weighted(c, 0, 0, 128); });
        add("slice QP 51", true, i, [](Case &c) { c.slice.qpDelta = 25; });
        add("slice QP 52", false, i, [](Case &c) { c.slice.qpDelta = 26; });
        add("slice QP -1 of 8 bits", false, i, [](Case &c) { c.slice.qpDelta = -27; });
        add("slice_cb_qp_offset 13", false, i, [](Case &c) {
            c.pps.sliceChromaQpOffsetsPresent = true;
            c.slice.chromaQpOffsets = bits().se(13).se(0);
        });
        add("slice_tc_offset_div2 7", false, i, [](Case &c) {
            c.pps.deblockingFilterOverrideEnabled = true;
            c.slice.loopFilters = bits().flag(true).flag(false).se(0).se(7);
        });
        const auto tiles = [](Case &c, std::uint32_t offsets, std::uint32_t lengthMinus1) {
            c.pps.tiles = bits().ue(1).ue(0).flag(true).flag(true); // two columns
            c.slice.entryPoints = bits().ue(offsets).ue(lengthMinus1).u(0, int(offsets * (lengthMinus1 + 1)));
        };
        add("an entry point for each further tile", true, i, [&](Case &c) { tiles(c, 1, 31); });
        add("more entry points than tiles", false, i, [&](Case &c) { tiles(c, 2, 7); });
        add("offset_len 33", false, i, [&](Case &c) { tiles(c, 1, 32); });
        add("a header extension of 257 bytes", false, i, [](Case &c) {
            c.pps.sliceSegmentHeaderExtensionPresent = true;
            c.slice.headerExtension = bits().ue(257).bytes(QByteArray(257, '\1'));
        });
        add("range extension", true, i, [](Case &c) { c.pps.extension = bits().u(0x80, 8).u(0, 2).ue(0).ue(0); });
        add("screen content extension", false, i, [](Case &c) { c.pps.extension = bits().u(0x10, 8).u(0, 4); });
        add("screen content profile", false, i, [](Case &c) { c.sps.profileIdc = 9; });
        add("a buffer of 17 pictures", false, i, [](Case &c) { c.sps.maxDecPicBufferingMinus1 = 16; });
        add("log2_max_pic_order_cnt_lsb 17", false, i, [](Case &c) { c.sps.log2MaxPicOrderCntLsbMinus4 = 13; });
        add("no width", false, i, [](Case &c) { c.sps.width = 0; });
        add("coding blocks of 128", false, i, [](Case &c) { c.sps.log2MinCbSizeMinus3 = 4; });
        add("65 reference picture sets", false, i, [](Case &c) {
            c.sps.shortTermRps.assign(65, bits().flag(false).ue(0).ue(0));
            c.sps.shortTermRps.front() = bits().ue(0).ue(0);
        });
        add("33 long-term pictures", false, i, [](Case &c) {
            c.sps.longTermPics = bits().ue(33);
            for (int k = 0; k < 33; ++k)
                c.sps.longTermPics->u(0, 5);
        });
    }
    void valuesOutOfRange_areDamage()
    {
        QFETCH(const bool, accepted);
        QFETCH(const Case, stream);
        QCOMPARE(stream.read().onePicture, accepted);
    }

    void references_areThoseOfThePictureItself()
    {
        // Of three pictures before it and one after, the second is kept for others.
        Case stream = predicted(Slice::P, 4);
        stream.slice.shortTermRps =
            bits().flag(false).ue(3).ue(1).ue(0).flag(true).ue(0).flag(false).ue(3).flag(true).ue(1).flag(true);
        const AccessUnit unit = stream.read();
        QCOMPARE(unit.references, (Counts{3, -2, 6}));
        QVERIFY(unit.referencesAreKnown);
        const AccessUnit intra = Case().read();
        QVERIFY(intra.references.empty() && intra.referencesAreKnown);

        // One in each list: the nearest before, the nearest after; or those that are chosen. P slices have one list.
        stream.slice.prediction = bits().flag(true).ue(0).ue(0);
        QCOMPARE(stream.read().references, Counts{3});
        QCOMPARE(stream.readWith({}, HevcReferences::OfSets).references, (Counts{3, -2, 6}));
        stream.slice.type = Slice::B;
        stream.slice.prediction = bits().flag(true).ue(0).ue(0).flag(false).ue(0);
        QCOMPARE(stream.read().references, (Counts{3, 6}));
        stream.pps.listsModificationPresent = true;
        const auto choose = [](std::uint32_t first, std::uint32_t second) {
            return bits().flag(true).ue(0).ue(0).flag(true).u(first, 2).flag(true).u(second, 2).flag(false).ue(0);
        };
        stream.slice.prediction = choose(1, 2);
        QCOMPARE(stream.read().references, Counts{-2});
        Slice second = stream.slice;
        second.first = false;
        second.address = 1;
        second.prediction = choose(1, 0);
        QCOMPARE(stream.readWith(second.write(stream.sps, stream.pps)).references, (Counts{-2, 6}));
        stream.slice.prediction = choose(3, 0);
        QVERIFY(!stream.read().onePicture);
    }

    void aSetOfTheSps_isChosenByItsIndex()
    {
        Case stream = predicted();
        stream.sps.shortTermRps = {bits().ue(1).ue(0).ue(0).flag(true), bits().flag(false).ue(1).ue(0).ue(1).flag(true),
                                   bits().flag(false).ue(1).ue(0).ue(2).flag(true)};
        stream.slice.shortTermRps = bits().flag(true).u(2, 2);
        QCOMPARE(stream.read().references, Counts{1});
        stream.slice.shortTermRps = bits().flag(true).u(3, 2);
        QVERIFY(!stream.read().onePicture);
    }

    void aSetPredictedFromAnother_isWorkedOut()
    {
        // deltaRps -1, all pictures and the set's own used: -2, -4, +1, -1 -> -1 -2 -4, +1 from the nearest on
        QCOMPARE(withInterRps(bits().ue(0).flag(true).ue(0).u(0xF, 4)).read().references, (Counts{3, 2, 0, 5}));
        // deltaRps +2: +1, -1, +4, and itself +2
        QCOMPARE(withInterRps(bits().ue(0).flag(false).ue(1).u(0xF, 4)).read().references, (Counts{3, 5, 6, 8}));
        // The same without the first one (use_delta_flag 0), and the third only for others (use_delta_flag 1).
        QCOMPARE(withInterRps(bits().ue(0).flag(false).ue(1).u(0b00'1'01'1, 6)).read().references, (Counts{3, 6}));
        // deltaRps +1 makes the first one the picture itself, which is left out.
        QCOMPARE(withInterRps(bits().ue(0).flag(false).ue(0).u(0xF, 4)).read().references, (Counts{2, 5, 7}));
        // From none: delta_idx, abs_delta_rps out of range.
        QVERIFY(!withInterRps(bits().ue(1).flag(true).ue(0).u(0xF, 4)).read().onePicture);
        QVERIFY(!withInterRps(bits().ue(0).flag(true).ue(32768).u(0xF, 4)).read().onePicture);
    }

    void longTermPictures_countOnFromOneAnother()
    {
        Case stream = predicted(Slice::P, 4);
        stream.sps.longTermPics = bits().ue(0);
        // Cycles of 1, and 1 more: counts with lsb 2 and 7, one and two times 16 before the picture's 4.
        stream.slice.longTermPics =
            bits().ue(2).u(2, 4).flag(true).flag(true).ue(1).u(7, 4).flag(true).flag(true).ue(1);
        const AccessUnit unit = stream.read();
        QCOMPARE(unit.references, (Counts{3, 1, 2 - 16, 7 - 32}));
        QVERIFY(unit.referencesAreKnown);
    }

    void sliceSegments_areOfOnePicture()
    {
        Case stream;
        stream.pps.dependentSliceSegmentsEnabled = true;
        stream.slice.picOrderCntLsb = 4;
        const auto isAcceptedWith = [&](const auto &change) {
            Slice second = stream.slice;
            second.first = false;
            second.address = 1;
            change(second);
            return stream.readWith(second.write(stream.sps, stream.pps)).onePicture;
        };
        QVERIFY(isAcceptedWith([](Slice &) {}));
        QVERIFY(isAcceptedWith([](Slice &slice) { slice.address = 3; }));
        QVERIFY(isAcceptedWith([](Slice &slice) { slice.dependent = true; }));
        QVERIFY(!isAcceptedWith([](Slice &slice) { slice.address = 0; }));
        QVERIFY(!isAcceptedWith([](Slice &slice) { slice.first = true; }));
        QVERIFY(!isAcceptedWith([](Slice &slice) { slice.picOrderCntLsb = 5; }));
        QVERIFY(!isAcceptedWith([](Slice &slice) { slice.nalUnitType = hevcsyntax::TrailN; }));
        QVERIFY(!isAcceptedWith([](Slice &slice) { slice.temporalId = 1; }));
        stream.slice.first = false;
        stream.slice.address = 1;
        QVERIFY(!stream.read().onePicture);
    }

    void headersThatAreCutShort_areDamage()
    {
        const Case stream = predicted();
        const QByteArray sets = stream.sps.write() + stream.pps.write();
        const QByteArray slice = stream.slice.write(stream.sps, stream.pps);
        for (int size = 5; size < slice.size() - 3; ++size) {
            const std::unique_ptr<AccessUnitReader> reader = makeAccessUnitReader(VideoCoding::Hevc);
            QVERIFY2(!readUnit(*reader, sets + slice.left(size)).onePicture, qPrintable(QString::number(size)));
        }
        const std::unique_ptr<AccessUnitReader> reader = makeAccessUnitReader(VideoCoding::Hevc);
        QVERIFY(readUnit(*reader, sets + slice).onePicture);
        for (const QByteArray &set : {stream.sps.write(), stream.pps.write()}) {
            for (int size = 7; size < set.size() - 1; ++size) {
                const std::unique_ptr<AccessUnitReader> other = makeAccessUnitReader(VideoCoding::Hevc);
                QVERIFY2(readUnit(*other, set.left(size)).parametersChanged, qPrintable(QString::number(size)));
            }
        }
    }
};

TEST_CLASS(TestHevcHeaders, quorvale::NoApplication)
#include "tst_hevc_headers.moc"
