#include "tests/support/testclass.h"
#include "video/keyframetable.h"

#include <cstring>

namespace {

KeyFrameEntry row(int frame)
{
    return {frame, frame * 3600LL, frame * 3600LL + 1};
}

// A table with rows, released at the end of a test.
struct HeldTable : KeyFrameTable
{
    HeldTable() = default;
    explicit HeldTable(const char *name, int size = -1, std::initializer_list<int> rows = {})
    {
        InitialiseKFT(this, name, size);
        for (const int frame : rows)
            AddEntry(this, row(frame));
    }
    ~HeldTable() { ReleaseKFT(this); }
    HeldTable(const HeldTable &) = delete;
    HeldTable &operator=(const HeldTable &) = delete;
};

} // namespace

class TestKeyFrameTable : public QObject
{
    Q_OBJECT

private slots:
    void table_isEmpty_whenMade()
    {
        const KeyFrameTable table;
        QVERIFY(table.fileName == nullptr);
        QVERIFY(table.entries == nullptr);
        QCOMPARE(table.frames, 0);
        QCOMPARE(table.count, 0);
        QCOMPARE(table.capacity, 0);
        QVERIFY(!table.complete);
        QVERIFY(!table.modified);
    }

    void initialise_setsEveryField()
    {
        HeldTable table;
        table.frames = 7;
        table.count = 7;
        table.complete = true;
        char name[] = "/media/recording.ts";
        InitialiseKFT(&table, name, 12);
        name[1] = 'X';
        QCOMPARE(std::strcmp(table.fileName, "/media/recording.ts"), 0); // a copy
        QCOMPARE(table.frames, 0);
        QCOMPARE(table.count, 0);
        QCOMPARE(table.reservedIndex, -1);
        QCOMPARE(table.capacity, 12);
        QVERIFY(!table.complete);
        QVERIFY(table.modified);
        QVERIFY(table.entries != nullptr);
    }

    void initialise_makesRoomForAHundredRows_whenAskedForTheDefault()
    {
        HeldTable table("x");
        QCOMPARE(table.capacity, 100);
        for (int frame = 0; frame < 100; ++frame)
            AddEntry(&table, row(frame));
        QCOMPARE(table.capacity, 100);
        AddEntry(&table, row(100));
        QCOMPARE(table.capacity, 200);
        QCOMPARE(table.count, 101);
        for (int frame = 0; frame <= 100; ++frame)
            QCOMPARE(table.entries[frame].frameDts, frame * 3600LL + 1);
    }

    void initialise_makesNoRoom_forASizeBelowZero()
    {
        HeldTable table(nullptr, -2);
        QCOMPARE(table.capacity, 0);
        QVERIFY(table.fileName == nullptr);
        AddEntry(&table, row(0));
        QCOMPARE(table.count, 1);
        QCOMPARE(table.entries[0].frame, 0);
    }

    void addEntry_changesNothing_forARowThatDoesNotLieAfterTheLast()
    {
        HeldTable table("x", -1, {5});
        table.modified = false;
        KeyFrameEntry again = row(5);
        again.seekDts = 1;
        AddEntry(&table, again);
        AddEntry(&table, row(3));
        QCOMPARE(table.count, 1);
        QCOMPARE(table.entries[0].seekDts, 5 * 3600LL);
        QVERIFY(!table.modified);
        AddEntry(&table, row(6));
        QCOMPARE(table.count, 2);
        QVERIFY(table.modified);
    }

    void addEntry_changesNothing_withoutATableOrRows()
    {
        AddEntry(nullptr, row(1));
        KeyFrameTable table;
        AddEntry(&table, row(1));
        QCOMPARE(table.count, 0);
        QVERIFY(table.entries == nullptr);
    }

    void getEntryIndex_findsTheLastRowAtOrBefore()
    {
        HeldTable table("x");
        QCOMPARE(GetEntryIndex(&table, 5), -1); // no rows yet
        for (const int frame : {4, 10, 20})
            AddEntry(&table, row(frame));
        QCOMPARE(GetEntryIndex(&table, 3), -1);
        QCOMPARE(GetEntryIndex(&table, 4), 0);
        QCOMPARE(GetEntryIndex(&table, 9), 0);
        QCOMPARE(GetEntryIndex(&table, 10), 1);
        QCOMPARE(GetEntryIndex(&table, 19), 1);
        QCOMPARE(GetEntryIndex(&table, 20), 2);
        QCOMPARE(GetEntryIndex(&table, 1000000), 2);
        QCOMPARE(GetEntryIndex(&table, -1), -1);
    }

    void getEntryIndex_stopsAtTheFirstGreaterRow_whenRowsDoNotAscend()
    {
        HeldTable table("x", 3, {4, 10, 20});
        table.entries[1].frame = 30;
        QCOMPARE(GetEntryIndex(&table, 25), 0);
    }

    void getEntryIndex_findsNothing_withoutATableOrRows()
    {
        QCOMPARE(GetEntryIndex(nullptr, 5), -1);
        KeyFrameTable table;
        table.count = 3; // as after a release
        QCOMPARE(GetEntryIndex(&table, 5), -1);
    }

    void resize_keepsTheRowsThatFit_andTheCount()
    {
        HeldTable table("x", 4, {1, 2, 3, 4});
        ResizeKFT(&table, 10);
        QCOMPARE(table.capacity, 10);
        QCOMPARE(table.count, 4);
        QCOMPARE(table.entries[3].frame, 4);
        ResizeKFT(&table, 2);
        QCOMPARE(table.capacity, 2);
        QCOMPARE(table.count, 4);
        QCOMPARE(table.entries[1].frame, 2);
    }

    void table_goesByTheRowsItHolds_whenTheCountExceedsTheRoom()
    {
        HeldTable table("x", 4, {1, 2, 3, 4});
        ResizeKFT(&table, 2);
        QCOMPARE(quorvale::rowsHeld(&table), 2);
        QCOMPARE(GetEntryIndex(&table, 4), 1);
        AddEntry(&table, row(9));
        QCOMPARE(table.count, 3);
        QCOMPARE(table.capacity, 4);
        QCOMPARE(table.entries[2].frame, 9);
    }

    void copy_duplicatesEverything()
    {
        HeldTable table("name", 5, {2, 8});
        table.frames = 9;
        table.reservedIndex = 42;
        table.complete = true;
        HeldTable copy;
        QVERIFY(CopyKFT(&copy, &table));
        QCOMPARE(copy.frames, 9);
        QCOMPARE(copy.count, 2);
        QCOMPARE(copy.reservedIndex, 42);
        QCOMPARE(copy.capacity, 5);
        QVERIFY(copy.complete);
        QVERIFY(copy.modified);
        QVERIFY(copy.fileName != table.fileName);
        QCOMPARE(std::strcmp(copy.fileName, "name"), 0);
        QVERIFY(copy.entries != table.entries);
        QCOMPARE(copy.entries[1].frame, 8);
        QCOMPARE(copy.entries[1].seekDts, 8 * 3600LL);
        QCOMPARE(copy.entries[1].frameDts, 8 * 3600LL + 1);
    }

    void copy_keepsAMissingNameMissing()
    {
        const KeyFrameTable table;
        HeldTable copy;
        QVERIFY(CopyKFT(&copy, &table));
        QVERIFY(copy.fileName == nullptr);
        QCOMPARE(copy.capacity, 0);
    }

    void release_leavesCountAndCompleteness()
    {
        HeldTable table("name", 5, {2});
        table.frames = 3;
        table.complete = true;
        ReleaseKFT(&table);
        QVERIFY(table.entries == nullptr);
        QVERIFY(table.fileName == nullptr);
        QCOMPARE(table.capacity, 0);
        QCOMPARE(table.frames, 0);
        QCOMPARE(table.count, 1);
        QCOMPARE(table.reservedIndex, -1);
        QVERIFY(table.complete);
        QVERIFY(table.modified);
        ReleaseKFT(&table); // once more, with nothing to free
        QCOMPARE(quorvale::rowsHeld(&table), 0);
    }
};

TEST_CLASS(TestKeyFrameTable, QCoreApplication)
#include "tst_keyframetable.moc"
