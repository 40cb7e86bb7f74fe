#include "tests/support/testclass.h"
#include "tests/video/h264syntax.h"
#include "tests/video/writtenunits.h"
#include "video/bitstream/accessunitreader.h"
#include "video/bitstream/h264_sei.h"

#include <memory>
#include <optional>

using namespace quorvale;
using h264syntax::Pps;
using h264syntax::Slice;
using h264syntax::Sps;

namespace {

// One slice in a stream with these parameter sets.
struct Case
{
    Sps sps{};
    Pps pps{};
    Slice slice{};

    [[nodiscard]] AccessUnit read() const
    {
        const std::unique_ptr<AccessUnitReader> reader = makeAccessUnitReader(VideoCoding::H264);
        return readUnit(*reader, sps.write() + pps.write() + slice.write(sps, pps));
    }
    [[nodiscard]] bool isAccepted() const { return read().onePicture; }
    // With a second slice of the picture, like the first but for what `change` does to it.
    template <typename Change>
    [[nodiscard]] bool isAcceptedWithSecond(const Change &change) const
    {
        const std::unique_ptr<AccessUnitReader> reader = makeAccessUnitReader(VideoCoding::H264);
        Slice second = slice;
        change(second);
        const QByteArray slices = slice.write(sps, pps) + second.write(sps, pps);
        return readUnit(*reader, sps.write() + pps.write() + slices).onePicture;
    }
};

BitWriter bits()
{
    return {};
}

Slice idrSlice()
{
    Slice slice;
    slice.type = Slice::I;
    slice.idr = true;
    return slice;
}

std::optional<h264::RecoveryPoint> recoveryPointIn(const QByteArray &sei)
{
    return h264::findRecoveryPoint(
        BitReader({reinterpret_cast<const std::uint8_t *>(sei.constData()) + 5, sei.size() - 5})); // after nal_unit()
}

} // namespace

/// What parameter sets, slice headers and supplemental enhancement information may hold, and what counts as damage.
class TestH264Headers : public QObject
{
    Q_OBJECT

private slots:
    void aHeaderWithEveryElement_isReadToItsEnd()
    {
        Case stream;
        stream.sps.frameMbsOnly = false;
        stream.pps.entropyCodingMode = true;
        stream.pps.bottomFieldPicOrderInFramePresent = stream.pps.redundantPicCntPresent = true;
        stream.pps.deblockingFilterControlPresent = true;
        stream.pps.weightedBipredIdc = 1;
        stream.slice.type = Slice::B;
        stream.slice.numRefIdxOverride = bits().flag(true).ue(1).ue(0);
        stream.slice.refPicListModification =
            bits().flag(true).ue(0).ue(3).ue(1).ue(15).ue(3).flag(true).ue(2).ue(5).ue(3);
        const BitWriter reference = bits().flag(true).se(-128).se(127).flag(true).se(1).se(2).se(3).se(4);
        stream.slice.predWeightTable = bits().ue(7).ue(0).append(reference).flag(false).flag(false).append(reference);
        stream.slice.decRefPicMarking =
            bits().flag(true).ue(1).ue(15).ue(2).ue(3).ue(3).ue(0).ue(1).ue(4).ue(2).ue(6).ue(0).ue(0);
        stream.slice.cabacInitIdc = 2;
        stream.slice.qpDelta = 25;
        stream.slice.deblocking = bits().ue(2).se(-6).se(6);
        const AccessUnit unit = stream.read();
        QVERIFY(unit.onePicture);
        QVERIFY(unit.isReference);
        QVERIFY(!unit.startsSequence);
        QVERIFY(unit.newParameters);
        QVERIFY(!unit.parametersChanged);
        // The last bits before the slice data tell that all before them was understood.
        stream.slice.cabacInitIdc = 0; // shorter: it no longer ends with a byte
        QVERIFY(stream.isAccepted());
        stream.slice.cabacAlignmentOneBit = false;
        QVERIFY(!stream.isAccepted());
    }

    void valuesOutOfRange_areDamage_data()
    {
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<QByteArray>("unit");
        const auto add = [](const char *name, bool accepted, Case stream, const auto &change) {
            change(stream);
            QTest::newRow(name) << accepted
                                << stream.sps.write() + stream.pps.write() + stream.slice.write(stream.sps, stream.pps);
        };
        const Case p;
        const Case i{{}, {}, idrSlice()};
        Case fields;
        fields.sps.frameMbsOnly = false;
        fields.slice.field = true;
        Case weighted;
        weighted.pps.weightedPred = true;
        const auto weights = [](std::uint32_t denominator, std::int32_t weight) {
            return bits().ue(denominator).ue(0).flag(true).se(weight).se(0).flag(false);
        };
        const auto referring = [](BitWriter numRefIdx) {
            return [=](Case &c) { c.slice.numRefIdxOverride = numRefIdx; };
        };
        const auto modified = [](BitWriter lists) { return [=](Case &c) { c.slice.refPicListModification = lists; }; };
        const auto marked = [](BitWriter marking) { return [=](Case &c) { c.slice.decRefPicMarking = marking; }; };
        Case deblocked;
        deblocked.pps.deblockingFilterControlPresent = true;

        add("first_mb_in_slice beyond the picture", false, p, [](Case &c) { c.slice.firstMbInSlice = 1; });
        add("slice_type SP", false, p, [](Case &c) { c.slice.type = 3; });
        add("slice_type SI", false, p, [](Case &c) { c.slice.type = 9; });
        add("slice_type 10", false, p, [](Case &c) { c.slice.type = 10; });
        add("slice_type B, not all of the picture", true, p, [](Case &c) { c.slice.type = 1; });
        add("pic_parameter_set_id unknown", false, p, [](Case &c) { c.slice.ppsId = 1; });
        add("pic_parameter_set_id 256", false, p, [](Case &c) { c.slice.ppsId = 256; });
        add("seq_parameter_set_id unknown", false, p, [](Case &c) { c.pps.spsId = 1; });
        add("seq_parameter_set_id 31", true, p, [](Case &c) { c.sps.id = c.pps.spsId = 31; });
        add("pic_parameter_set_id 255", true, p, [](Case &c) { c.pps.id = c.slice.ppsId = 255; });
        add("IDR of P slices", false, i, [](Case &c) { c.slice.type = Slice::P; });
        add("IDR that none refers to", false, i, [](Case &c) { c.slice.refIdc = 0; });
        add("IDR with frame_num", false, i, [](Case &c) { c.slice.frameNum = 1; });
        add("idr_pic_id 65535", true, i, [](Case &c) { c.slice.idrPicId = 65535; });
        add("idr_pic_id 65536", false, i, [](Case &c) { c.slice.idrPicId = 65536; });
        add("redundant_pic_cnt", false, p, [](Case &c) {
            c.pps.redundantPicCntPresent = true;
            c.slice.redundantPicCnt = 1;
        });
        add("num_ref_idx 16 of a frame", true, p, referring(bits().flag(true).ue(15)));
        add("num_ref_idx 17 of a frame", false, p, referring(bits().flag(true).ue(16)));
        add("num_ref_idx 32 of a field", true, fields, referring(bits().flag(true).ue(31)));
        add("num_ref_idx 33 of a field", false, fields, referring(bits().flag(true).ue(32)));
        add("num_ref_idx 17 of the PPS for a frame", false, p,
            [](Case &c) { c.pps.numRefIdxL0DefaultActiveMinus1 = 16; });
        add("num_ref_idx 33 of the PPS", false, fields, [](Case &c) { c.pps.numRefIdxL0DefaultActiveMinus1 = 32; });
        add("modification_of_pic_nums_idc 4", false, p, modified(bits().flag(true).ue(4).ue(0).ue(3)));
        add("abs_diff_pic_num of a frame", false, p, modified(bits().flag(true).ue(0).ue(16).ue(3)));
        add("abs_diff_pic_num of a field", true, fields, modified(bits().flag(true).ue(0).ue(31).ue(3)));
        add("long_term_pic_num", false, p, modified(bits().flag(true).ue(2).ue(16).ue(3)));
        add("more modifications than entries", false, p, modified(bits().flag(true).ue(0).ue(0).ue(0).ue(0).ue(3)));
        add("weights", true, weighted, [&](Case &c) { c.slice.predWeightTable = weights(7, 127); });
        add("luma_log2_weight_denom 8", false, weighted, [&](Case &c) { c.slice.predWeightTable = weights(8, 1); });
        add("luma_weight 128", false, weighted, [&](Case &c) { c.slice.predWeightTable = weights(0, 128); });
        add("luma_weight -129", false, weighted, [&](Case &c) { c.slice.predWeightTable = weights(0, -129); });
        add("memory_management_control_operation 7", false, p, marked(bits().flag(true).ue(7).ue(0)));
        add("difference_of_pic_nums", false, p, marked(bits().flag(true).ue(1).ue(16).ue(0)));
        add("long_term_frame_idx", false, p, marked(bits().flag(true).ue(3).ue(0).ue(16).ue(0)));
        add("max_long_term_frame_idx_plus1", false, p, marked(bits().flag(true).ue(4).ue(17).ue(0)));
        add("memory management without an end", false, p, [](Case &c) {
            c.slice.decRefPicMarking = bits().flag(true);
            for (int k = 0; k < 100; ++k)
                c.slice.decRefPicMarking->ue(1).ue(0);
            c.slice.decRefPicMarking->ue(0);
        });
        add("cabac_init_idc 3", false, p, [](Case &c) {
            c.pps.entropyCodingMode = true;
            c.slice.cabacInitIdc = 3;
        });
        add("slice QP 51", true, p, [](Case &c) { c.slice.qpDelta = 25; });
        add("slice QP 52", false, p, [](Case &c) { c.slice.qpDelta = 26; });
        add("slice QP -1 of 8 bits", false, p, [](Case &c) { c.slice.qpDelta = -27; });
        add("slice QP that no 32 bits hold", false, p, [](Case &c) { c.slice.qpDelta = INT32_MAX; });
        add("disable_deblocking_filter_idc 1", true, deblocked, [](Case &c) { c.slice.deblocking = bits().ue(1); });
        add("disable_deblocking_filter_idc 3", false, deblocked,
            [](Case &c) { c.slice.deblocking = bits().ue(3).se(0).se(0); });
        add("slice_alpha_c0_offset", false, deblocked, [](Case &c) { c.slice.deblocking = bits().ue(0).se(7).se(0); });
        add("slice_beta_offset", false, deblocked, [](Case &c) { c.slice.deblocking = bits().ue(0).se(0).se(-7); });
        add("max_num_ref_frames 17", false, p, [](Case &c) { c.sps.maxNumRefFrames = 17; });
        add("pic_order_cnt_type 3", false, p, [](Case &c) { c.sps.picOrderCntType = 3; });
        add("log2_max_frame_num 17", false, p, [](Case &c) { c.sps.log2MaxFrameNumMinus4 = 13; });
        add("log2_max_pic_order_cnt_lsb 17", false, p, [](Case &c) { c.sps.log2MaxPicOrderCntLsbMinus4 = 13; });
        add("a width that no level has", false, p, [](Case &c) { c.sps.widthInMbs = 4097; });
        add("a cycle of 255", true, p, [](Case &c) {
            c.sps.picOrderCntType = 1;
            c.sps.offsetForRefFrame.assign(255, 2);
        });
        add("a cycle of 256", false, p, [](Case &c) {
            c.sps.picOrderCntType = 1;
            c.sps.offsetForRefFrame.assign(256, 2);
        });
        add("a cycle that leaves the range", false, p, [](Case &c) {
            c.sps.picOrderCntType = 1;
            c.sps.offsetForRefFrame.assign(2, INT32_MAX);
        });
        add("an initial QP beyond the scale", false, p, [](Case &c) { c.pps.picInitQpMinus26 = 26; });
    }
    void valuesOutOfRange_areDamage()
    {
        QFETCH(const bool, accepted);
        QFETCH(const QByteArray, unit);
        const std::unique_ptr<AccessUnitReader> reader = makeAccessUnitReader(VideoCoding::H264);
        QCOMPARE(readUnit(*reader, unit).onePicture, accepted);
    }

    void aPairOfMacroblocks_countsOnce_inAnMbaffFrame()
    {
        Case stream;
        stream.sps.frameMbsOnly = false;
        stream.sps.widthInMbs = 2; // of 2 x 2 macroblocks
        const auto isAcceptedWithSecondSliceAt = [&](std::uint32_t firstMb) {
            return stream.isAcceptedWithSecond([&](Slice &second) { second.firstMbInSlice = firstMb; });
        };
        QVERIFY(isAcceptedWithSecondSliceAt(3));
        QVERIFY(!isAcceptedWithSecondSliceAt(4));
        stream.sps.mbAdaptiveFrameField = true;
        QVERIFY(isAcceptedWithSecondSliceAt(1));
        QVERIFY(!isAcceptedWithSecondSliceAt(2));
    }

    void headersThatAreCutShort_areDamage()
    {
        const Case stream{{}, {}, idrSlice()};
        const QByteArray sets = stream.sps.write() + stream.pps.write();
        const QByteArray slice = stream.slice.write(stream.sps, stream.pps);
        for (int size = 4; size < 8; ++size) {
            const std::unique_ptr<AccessUnitReader> reader = makeAccessUnitReader(VideoCoding::H264);
            QVERIFY2(!readUnit(*reader, sets + slice.left(size) + QByteArray(1, '\0')).onePicture,
                     qPrintable(QString::number(size)));
        }
        for (const QByteArray &set :
             {stream.sps.write().left(6), stream.sps.write().left(9), stream.pps.write().left(6)}) {
            const std::unique_ptr<AccessUnitReader> reader = makeAccessUnitReader(VideoCoding::H264);
            QVERIFY(readUnit(*reader, set).parametersChanged);
        }
    }

    void aParameterSetThatCannotBeRead_replacesTheOneBefore()
    {
        const Case stream{{}, {}, idrSlice()};
        const std::unique_ptr<AccessUnitReader> reader = makeAccessUnitReader(VideoCoding::H264);
        const QByteArray slice = stream.slice.write(stream.sps, stream.pps);
        QVERIFY(readUnit(*reader, stream.sps.write() + stream.pps.write() + slice).onePicture);
        QVERIFY(readUnit(*reader, slice).onePicture);
        Sps damaged = stream.sps;
        damaged.maxNumRefFrames = 17;
        const AccessUnit unit = readUnit(*reader, damaged.write() + slice);
        QVERIFY(!unit.onePicture);
        QVERIFY(unit.parametersChanged);
        QVERIFY(!readUnit(*reader, slice).onePicture);
        QVERIFY(readUnit(*reader, stream.sps.write() + slice).onePicture);
    }

    void emulationPreventionInAHeader_isLeftOut()
    {
        // 16 bits of frame_num and as many of pic_order_cnt_lsb, with two bytes of zeros among them.
        Case stream;
        stream.sps.log2MaxFrameNumMinus4 = stream.sps.log2MaxPicOrderCntLsbMinus4 = 12;
        stream.slice.frameNum = 0x4000;
        stream.slice.picOrderCntLsb = 1;
        QVERIFY(stream.slice.write(stream.sps, stream.pps).mid(4).contains(QByteArray("\0\0\3", 3)));
        const AccessUnit unit = stream.read();
        QVERIFY(unit.onePicture);
        QCOMPARE(unit.frameNum, 0x4000U);
        QCOMPARE(unit.pictureOrderCount, std::int64_t{1});
    }

    void slicesOfOnePicture_sayTheSame()
    {
        Case stream;
        stream.sps.widthInMbs = 2;
        stream.slice.frameNum = 1;
        const auto isAcceptedWith = [&](const auto &change) {
            return stream.isAcceptedWithSecond([&](Slice &second) {
                second.firstMbInSlice = 1;
                change(second);
            });
        };
        QVERIFY(isAcceptedWith([](Slice &) {}));
        QVERIFY(isAcceptedWith([](Slice &slice) { slice.type = Slice::I; }));
        QVERIFY(isAcceptedWith([](Slice &slice) { slice.refIdc = 3; }));
        QVERIFY(!isAcceptedWith([](Slice &slice) { slice.firstMbInSlice = 0; }));
        QVERIFY(!isAcceptedWith([](Slice &slice) { slice.frameNum = 2; }));
        QVERIFY(!isAcceptedWith([](Slice &slice) { slice.picOrderCntLsb = 2; }));
        QVERIFY(!isAcceptedWith([](Slice &slice) { slice.refIdc = 0; }));
        QVERIFY(!isAcceptedWith([](Slice &slice) { slice.decRefPicMarking = BitWriter().flag(true).ue(5).ue(0); }));
    }

    void noOutputOfPriorPics_mayWithholdOutput()
    {
        Case stream{{}, {}, idrSlice()};
        QVERIFY(!stream.read().mayWithholdOutput);
        stream.slice.decRefPicMarking = bits().flag(true).flag(false);
        QVERIFY(stream.read().mayWithholdOutput);
    }

    void recoveryPoints_areFoundAmongOtherMessages()
    {
        const BitWriter point = bits().u(6, 8).u(1, 8).ue(0).flag(true).flag(false).u(0, 2).align(true);
        // A message of 300 bytes, all of them zeros: emulation prevention bytes are none of its size.
        const BitWriter zeros = bits().u(5, 8).u(255, 8).u(45, 8).bytes(QByteArray(300, '\0'));
        const std::optional<h264::RecoveryPoint> alone = recoveryPointIn(bits().append(point).nalUnit("\6"));
        const std::optional<h264::RecoveryPoint> later =
            recoveryPointIn(bits().append(zeros).append(point).nalUnit("\6"));
        for (const auto &found : {alone, later}) {
            QVERIFY(found.has_value());
            QCOMPARE(found->recoveryFrameCnt, 0U);
            QVERIFY(found->exactMatch);
            QVERIFY(!found->brokenLink);
        }
        QVERIFY(!recoveryPointIn(zeros.nalUnit("\6")));
        QVERIFY(!recoveryPointIn(bits().u(6, 8).nalUnit("\6")));
        QVERIFY(!recoveryPointIn(bits().u(1, 8).u(200, 8).append(point).nalUnit("\6")));
    }
};

TEST_CLASS(TestH264Headers, quorvale::NoApplication)
#include "tst_h264_headers.moc"
