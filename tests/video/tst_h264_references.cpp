#include "tests/support/testclass.h"
#include "tests/video/h264syntax.h"
#include "tests/video/writtenunits.h"
#include "video/bitstream/accessunitreader.h"

#include <QRegularExpression>

#include <algorithm>
#include <memory>

using namespace quorvale;
using h264syntax::Pps;
using h264syntax::Slice;
using h264syntax::Sps;

namespace {

// "B3/4": type, frame_num, pic_order_cnt_lsb; "b": no other picture refers to it; "P3/4t": a top field. Then, each
// after a comma: "n1" or "n1:2" entries in its lists; "-2", "+2": the list's next entry is that of PicNum so far away;
// "/" the second list's; "m2": the picture of PicNum so far away is unmarked, "long": there is a long-term picture,
// "five": memory_management_control_operation 5.
Slice sliceOf(const QString &text)
{
    static const QRegularExpression head("^([IPBpb])(\\d+)/(\\d+)([tb]?)$");
    QStringList parts = text.split(',');
    const QRegularExpressionMatch found = head.match(parts.takeFirst());
    Q_ASSERT(found.hasMatch());
    const QString type = found.captured(1);
    Slice slice;
    slice.type = type == "I" ? Slice::I : type.toUpper() == "P" ? Slice::P : Slice::B;
    slice.refIdc = type == type.toUpper() ? 1 : 0;
    slice.frameNum = found.captured(2).toUInt();
    slice.picOrderCntLsb = found.captured(3).toUInt();
    slice.idr = slice.type == Slice::I && slice.frameNum == 0;
    slice.field = !found.captured(4).isEmpty();
    slice.bottomField = found.captured(4) == "b";
    BitWriter lists[2];
    bool isModified[2] = {false, false};
    std::size_t list = 0;
    BitWriter marking = BitWriter().flag(true);
    bool isMarked = false;
    for (const QString &part : std::as_const(parts)) {
        const std::uint32_t number = part.mid(1).toUInt();
        if (part.startsWith('n')) {
            const QStringList counts = part.mid(1).split(':');
            slice.numRefIdxOverride = BitWriter().flag(true);
            for (const QString &count : counts)
                slice.numRefIdxOverride->ue(count.toUInt() - 1);
        } else if (part == "/") {
            list = 1;
        } else if (part.startsWith('-') || part.startsWith('+')) {
            isModified[list] = true;
            lists[list].ue(part.startsWith('-') ? 0 : 1).ue(number - 1);
        } else {
            isMarked = true;
            if (part == "long")
                marking.ue(4).ue(1).ue(6).ue(0);
            else if (part == "five")
                marking.ue(5);
            else
                marking.ue(1).ue(number - 1);
        }
    }
    BitWriter modifications;
    for (std::size_t i = 0; i < (slice.type == Slice::B ? 2 : 1); ++i) {
        modifications.flag(isModified[i]);
        if (isModified[i])
            modifications.append(lists[i].ue(3));
    }
    slice.refPicListModification = modifications;
    if (isMarked)
        slice.decRefPicMarking = marking.ue(0);
    return slice;
}

// What the last picture of a stream refers to, by counts; "?" where that is not known.
QString referencesOf(const QString &stream)
{
    Sps sps;
    sps.log2MaxPicOrderCntLsbMinus4 = 4;
    sps.maxNumRefFrames = 3;
    sps.frameMbsOnly = false;
    const std::unique_ptr<AccessUnitReader> reader = makeAccessUnitReader(VideoCoding::H264);
    AccessUnit unit;
    for (const QString &text : stream.split(' ')) {
        const QByteArray parameters = text == stream.section(' ', 0, 0) ? sps.write() + Pps().write() : QByteArray();
        unit = readUnit(*reader, parameters + sliceOf(text).write(sps, Pps()));
    }
    if (!unit.onePicture || !unit.referencesAreKnown)
        return QStringLiteral("?");
    std::sort(unit.references.begin(), unit.references.end());
    QStringList counts;
    for (const std::int64_t count : unit.references)
        counts << QString::number(count);
    return counts.join(' ');
}

} // namespace

/// Which pictures H.264 slices can refer to, by their headers (ITU-T H.264, 8.2.4 and 8.2.5).
class TestH264References : public QObject
{
    Q_OBJECT

private slots:
    void lists_holdWhatTheStandardPutsThere_data()
    {
        QTest::addColumn<QString>("stream");
        QTest::addColumn<QString>("references");
        const auto row = [](const char *name, const char *stream, const char *references) {
            QTest::newRow(name) << QString(stream) << QString(references);
        };
        row("IDR", "I0/0", "");
        row("P: the latest one", "I0/0 P1/8 P2/16", "8");
        row("P: by number, not by output", "I0/0 P1/16 P2/8 P3/24,n2", "8 16");
        row("P: what no other refers to is no reference", "I0/0 P1/8 b2/4 P2/16,n3", "0 8");
        row("P: frame_num begins again",
            "I0/0 P1/2 P2/4 P3/6 P4/8 P5/10 P6/12 P7/14 P8/16 P9/18 P10/20 P11/22 P12/24 P13/26 P14/28 P15/30 P0/32 "
            "P1/34,n2",
            "30 32");
        row("sliding window", "I0/0 P1/8 P2/16 P3/24 P4/32,n16", "8 16 24");
        row("B: the nearest on both sides", "I0/0 P1/8 P2/16 b3/12", "8 16");
        row("B: further ones of one side", "I0/0 P1/8 P2/16 b3/12,n2:1", "0 8 16");
        row("B: after the last of one side those of the other", "I0/0 P1/8 P2/16 b3/12,n1:2", "8 16");
        row("B: lists that are the same differ in their first two", "I0/0 P1/8 P2/16 b3/20", "8 16");
        row("B: one picture only", "I0/0 b1/20,n2:2", "0");
        row("modified: that one first", "I0/0 P1/8 P2/16 P3/24,-3", "0");
        row("modified: then on from there", "I0/0 P1/8 P2/16 P3/24,n2,-3,+1", "0 8");
        row("modified: what was moved is not there twice", "I0/0 P1/8 P2/16 P3/24,n2,-2", "8 16");
        row("modified: list 1", "I0/0 P1/8 P2/16 b3/12,/,-3", "0 8");
        row("modified: by what is not there", "I0/0 P1/8 P2/16,m1 P3/24,n2,-2", "?");
        row("modified: numbers begin again",
            "I0/0 P1/2 P2/4 P3/6 P4/8 P5/10 P6/12 P7/14 P8/16 P9/18 P10/20 P11/22 P12/24 P13/26 P14/28 P15/30 P0/32 "
            "P1/34,-3",
            "28");
        row("unmarked", "I0/0 P1/8 P2/16,m1 P3/24,n3", "0 16");
        row("unmarked, and no window slides", "I0/0 P1/8 P2/16 P3/24,m1 P4/32,n3", "0 8 24");
        row("unmarked: what is not there", "I0/0 P1/8,m3 P2/16,n3", "0 8");
        row("field: the same parity first", "I0/0 P1/8t", "0");
        row("field: both of a frame are one picture", "I0/0 P1/8 P2/16t,n2", "8");
        row("second field: the same parity of the frame before", "I0/0 P1/8t P1/9b", "0");
        row("second field: the first one is of its own frame", "I0/0 P1/8t P1/9b,n2", "0");
        row("second field: no window slides", "I0/0 P1/8 P2/16 P3/24t P3/25b,n8", "8 16");
        row("fields: one left where the other one is unmarked", "I0/0 P1/8 P2/16t,m2 P2/17b P3/24t,n16", "0 8 16");
        row("B field: the other field of its frame is before it", "I0/0 P1/8 B2/4t B2/5b,n2:1", "0 8");
        row("fields: modified by field numbers", "I0/0 P1/8 P2/16t,-5", "0");
        row("frame: half a frame is marked", "I0/0 P1/8 P2/16t,m2 P2/17b P3/24", "?");
        row("a picture is missing", "I0/0 P1/8 P3/16", "?");
        row("after it, those before are not known", "I0/0 P1/8 P3/16 P4/24,n3", "16");
        row("more frames than the window has", "I0/0 P1/8 P2/16 P3/24,m9 P4/32", "24");
        row("second field: output before the first", "I0/0 P1/8b P1/7t", "?");
        row("after half a frame, those before are not known", "I0/0 P1/8 P2/16t,m2 P2/17b P3/24 P4/32,n3", "24");
        row("counts that start again", "I0/0 P1/8,five P1/8 P2/16", "?");
        row("long-term pictures", "I0/0 P1/8,long P2/16", "?");
        row("until an IDR picture", "I0/0 P1/8,long I0/0 P1/8", "0");
    }
    void lists_holdWhatTheStandardPutsThere()
    {
        QFETCH(const QString, stream);
        QFETCH(const QString, references);
        QCOMPARE(referencesOf(stream), references);
    }
};

TEST_CLASS(TestH264References, QCoreApplication)
#include "tst_h264_references.moc"
