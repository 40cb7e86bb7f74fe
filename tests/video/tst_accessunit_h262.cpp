#include "tests/support/testclass.h"
#include "tests/video/accessunitcases.h"

using namespace quorvale;

namespace {

UnitCoding h262Streams()
{
    const QStringList encoder{"-c:v", "mpeg2video", "-q:v", "3", "-g", "12", "-bf", "2"};
    UnitStream plain{"mpeg2.ts", encoder};
    plain.fewestUnreferred = 55; // two of three
    plain.mostUnreferred = 60;
    UnitCoding coding;
    coding.coding = VideoCoding::Mpeg2;
    coding.name = "mpeg2";
    coding.streams = {plain, {"mpeg2-interlaced.ts", encoder, true}};
    coding.endOfSequence = QByteArray("\0\0\1\xB7", 4);
    coding.parameterSets = {{"sequence header", 0xB3}};
    return coding;
}

bool isPictureCodingExtension(const QByteArray &unit)
{
    return nalUnitType(unit, "mpeg2") == 0xB5 && (unit[4] & 0xF0) == 0x80;
}

void setPictureStructure(NalUnits &units, int structure)
{
    const auto coding = std::find_if(units.begin(), units.end(), isPictureCodingExtension);
    QVERIFY(coding != units.end());
    (*coding)[6] = char(((*coding)[6] & ~3) | structure);
}

void setPictureCodingType(NalUnits &units, int type)
{
    const auto header = findType(units, "mpeg2", 0);
    QVERIFY(header != units.end());
    (*header)[5] = char(((*header)[5] & ~0x38) | type << 3);
}

constexpr int kTopField = 1;
constexpr int kBottomField = 2;

} // namespace

class TestAccessUnitH262 : public AccessUnitCases
{
    Q_OBJECT

public:
    TestAccessUnitH262()
        : AccessUnitCases(h262Streams())
    {
    }

private:
    // A unit of two fields, made of a frame twice.
    [[nodiscard]] AccessUnit fields(int first, int second,
                                    const std::function<void(NalUnits &)> &changeSecond = {}) const
    {
        return tampered(sliced, secondKey(sliced), [&](NalUnits &units) {
            NalUnits field(findType(units, "mpeg2", 0), units.end());
            setPictureStructure(units, first);
            setPictureStructure(field, second);
            if (changeSecond)
                changeSecond(field);
            units.insert(units.end(), field.begin(), field.end());
        });
    }

private slots:
    void aTableOfItsOwn_changesParameters()
    {
        // quant_matrix_extension() after the picture's header, and where decoders take it, too
        for (const bool isFirst : {false, true}) {
            const AccessUnit unit = tampered(sliced, 5, [&](NalUnits &units) {
                units.insert(isFirst ? units.begin() : findSlice(units, "mpeg2"), QByteArray("\0\0\1\xB5\x30\x10", 6));
            });
            QVERIFY(unit.parametersChanged);
        }
    }

    void aSingleField_isNotOnePicture()
    {
        const AccessUnit unit = tampered(sliced, 5, [](NalUnits &units) { setPictureStructure(units, kTopField); });
        QVERIFY(!unit.onePicture);
        QVERIFY(!unit.bothFields);
    }

    void bothFieldsOfAFrame_areTold_ofEitherParityFirst()
    {
        for (const AccessUnit &unit : {fields(kTopField, kBottomField), fields(kBottomField, kTopField)}) {
            QVERIFY(unit.bothFields);
            QVERIFY(!unit.onePicture);
            QVERIFY(!unit.parametersChanged);
            QVERIFY(unit.isReference);
            QCOMPARE(int(unit.structure), int(PictureStructure::Frame));
            QCOMPARE(int(unit.randomAccess), int(RandomAccess::SequenceHeader));
        }
        // A P field after an I field
        QVERIFY(fields(kTopField, kBottomField, [](NalUnits &field) { setPictureCodingType(field, 2); }).bothFields);
    }

    void fieldsThatAreNoFrame_areNotTold()
    {
        QVERIFY(!fields(kTopField, kTopField).bothFields);
        QVERIFY(!fields(kTopField, 3).bothFields);
        QVERIFY(!fields(3, 3).bothFields);
        QVERIFY(!fields(kTopField, kBottomField, [](NalUnits &field) { setPictureCodingType(field, 3); }).bothFields);
        // temporal_reference
        QVERIFY(
            !fields(kTopField, kBottomField, [](NalUnits &field) { field[0][4] = char(field[0][4] ^ 1); }).bothFields);
        // the first slice
        QVERIFY(!fields(kTopField, kBottomField, [](NalUnits &field) {
                     field.erase(findSlice(field, "mpeg2"));
                 }).bothFields);
        QVERIFY(!fields(kTopField, kBottomField, [](NalUnits &field) { field.resize(2); }).bothFields);
    }

    void aPictureTypeOfNone_isNotOnePicture()
    {
        for (const int type : {0, 4, 7})
            QVERIFY(!tampered(sliced, 5, [&](NalUnits &units) { setPictureCodingType(units, type); }).onePicture);
    }

    void aMissingCodingExtension_isNotOnePicture()
    {
        const AccessUnit unit = tampered(sliced, 5, [](NalUnits &units) {
            units.erase(std::find_if(units.begin(), units.end(), isPictureCodingExtension));
        });
        QVERIFY(!unit.onePicture);
    }

    void anIntraPictureWithoutASequenceHeader_isNoRandomAccessPoint()
    {
        const AccessUnit unit = tampered(sliced, secondKey(sliced), [](NalUnits &units) {
            units.erase(units.begin(), findType(units, "mpeg2", 0xB8)); // up to the group's header
        });
        QVERIFY(unit.onePicture);
        QCOMPARE(int(unit.randomAccess), int(RandomAccess::None));
    }
};

TEST_CLASS(TestAccessUnitH262, QCoreApplication)
#include "tst_accessunit_h262.moc"
