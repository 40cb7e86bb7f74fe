#include "tests/support/capturedoutput.h"
#include "tests/support/files.h"
#include "tests/support/testclass.h"
#include "video/keyframetable.h"

#include <cstring>

class TestKeyFrameTableFile : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;
    KeyFrameTable table;

    QByteArray path() const { return QFile::encodeName(folder.filePath("table.kft")); }

    bool load(const QByteArray &content)
    {
        return writeFile(folder.filePath("table.kft"), content) && LoadKeyFrameTable(&table, path().constData());
    }

    QByteArray saved() const { return readFile(folder.filePath("table.kft")); }

    void fill()
    {
        InitialiseKFT(&table, "/media/a b.ts", -1);
        AddEntry(&table, {0, 126000, 126000});
        AddEntry(&table, {12, -9223372036854775807LL - 1, 9223372036854775807LL});
        table.frames = 25;
        table.complete = true;
    }

private slots:
    void init() { QVERIFY(folder.isValid()); }
    void cleanup()
    {
        ReleaseKFT(&table);
        table = KeyFrameTable();
    }

    void save_writesTheText()
    {
        fill();
        QVERIFY(SaveKeyFrameTable(&table, path().constData(), false));
        QCOMPARE(saved(), QByteArray("KFT\n"
                                     "/media/a b.ts\n"
                                     "25 2 1\n"
                                     "0 126000 126000\n"
                                     "12 -9223372036854775808 9223372036854775807\n"));
        QVERIFY(table.modified);
    }

    void save_clearsModified_whenAskedToMark()
    {
        fill();
        QVERIFY(SaveKeyFrameTable(&table, path().constData(), true));
        QVERIFY(!table.modified);
    }

    void save_fails_whereTheFileCannotBeCreated()
    {
        fill();
        QVERIFY(!SaveKeyFrameTable(&table, QFile::encodeName(folder.filePath("no/such/folder")).constData(), true));
        QVERIFY(table.modified);
    }

    void save_clearsModified_alsoWhereTheDiskIsFull()
    {
        if (!QFile::exists("/dev/full"))
            QSKIP("there is no full device here");
        fill();
        QVERIFY(SaveKeyFrameTable(&table, "/dev/full", true)); // it could be created
        QVERIFY(!table.modified);
    }

    void save_writesNoRows_ofAReleasedTable()
    {
        fill();
        ReleaseKFT(&table);
        QVERIFY(SaveKeyFrameTable(&table, path().constData(), false));
        QCOMPARE(saved(), QByteArray("KFT\n\n0 0 1\n"));
    }

    void load_readsWhatWasSaved_andKeepsTheLineFeedOfTheName()
    {
        fill();
        QVERIFY(SaveKeyFrameTable(&table, path().constData(), false));
        ReleaseKFT(&table);
        table = KeyFrameTable();
        table.modified = true;
        QVERIFY(LoadKeyFrameTable(&table, path().constData()));
        QCOMPARE(std::strcmp(table.fileName, "/media/a b.ts\n"), 0);
        QCOMPARE(table.frames, 25);
        QCOMPARE(table.count, 2);
        QVERIFY(table.capacity >= 2);
        QVERIFY(table.complete);
        QVERIFY(!table.modified);
        QCOMPARE(table.entries[1].frame, 12);
        QCOMPARE(table.entries[1].seekDts, std::numeric_limits<qint64>::min());
        QCOMPARE(table.entries[1].frameDts, std::numeric_limits<qint64>::max());
    }

    void load_passesOverTheEmptyLine_afterANameThatWasLoadedBefore()
    {
        fill();
        QVERIFY(SaveKeyFrameTable(&table, path().constData(), false));
        QVERIFY(LoadKeyFrameTable(&table, path().constData()));
        QVERIFY(SaveKeyFrameTable(&table, path().constData(), false));
        QVERIFY(saved().startsWith("KFT\n/media/a b.ts\n\n25 2 1\n"));
        QVERIFY(LoadKeyFrameTable(&table, path().constData()));
        QCOMPARE(std::strcmp(table.fileName, "/media/a b.ts\n"), 0);
        QCOMPARE(table.frames, 25);
        QCOMPARE(table.count, 2);
        QCOMPARE(table.entries[0].seekDts, 126000LL);
    }

    void load_fails_forAMissingFile() { QVERIFY(!LoadKeyFrameTable(&table, "/no/such/file.kft")); }

    void load_refusesAnotherHeaderWord_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("longer") << QByteArray("KFTX\nname\n0 0 1\n");
        QTest::newRow("shorter") << QByteArray("KF\nname\n0 0 1\n");
        QTest::newRow("lower case") << QByteArray("kft\nname\n0 0 1\n");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("blanks only") << QByteArray(" \n\n ");
        QTest::newRow("very long") << QByteArray(100000, 'K');
    }
    void load_refusesAnotherHeaderWord()
    {
        QFETCH(const QByteArray, content);
        CapturedOutput messages(stderr);
        const bool loaded = load(content);
        QCOMPARE(messages.text(), QByteArray("KFT header incorrect\n"));
        QVERIFY(!loaded);
        QVERIFY(table.fileName == nullptr);
        QVERIFY(table.entries == nullptr);
    }

    void load_skipsBlanks_aroundTheHeaderAndBeforeTheName()
    {
        QVERIFY(load("  KFT\n \n  name with blanks \n1 1 0\n0 5 6\n"));
        QCOMPARE(std::strcmp(table.fileName, "name with blanks \n"), 0);
        QCOMPARE(table.count, 1);
    }

    void load_isCompleteWithoutRows_whenTheFileSaysSo()
    {
        QVERIFY(load("KFT\nname\n0 0 1\n"));
        QVERIFY(table.complete);
        QCOMPARE(table.frames, 0);
        QCOMPARE(table.count, 0);
        QCOMPARE(quorvale::rowsHeld(&table), 0);
    }

    void load_takesAnyDigitButZero_forComplete()
    {
        QVERIFY(load("KFT\nname\n3 0 7\n"));
        QVERIFY(table.complete);
        QVERIFY(load("KFT\nname\n3 0 0\n"));
        QVERIFY(!table.complete);
    }

    void load_reusesTheRoom_thatIsLargeEnough()
    {
        InitialiseKFT(&table, "old", 50);
        const KeyFrameEntry *entries = table.entries;
        QVERIFY(load("KFT\nname\n30 2 0\n0 1 2\n10 3 4\n"));
        QVERIFY(table.entries == entries);
        QCOMPARE(table.capacity, 50);
        QCOMPARE(table.count, 2);
        QCOMPARE(table.entries[1].frame, 10);
    }

    void load_makesRoomForExactlyItsRows_whereThereIsTooLittle()
    {
        InitialiseKFT(&table, "old", 1);
        QVERIFY(load("KFT\nname\n30 3 0\n0 1 2\n10 3 4\n20 5 6\n"));
        QCOMPARE(table.capacity, 3);
        QCOMPARE(table.count, 3);
        QCOMPARE(table.entries[2].frameDts, 6LL);
    }

    void load_makesUpNoRows_whenFewerFollowThanAnnounced()
    {
        for (const char *announced : {"5", "2147483647", "9999999999999999"}) {
            QVERIFY(load(QByteArray("KFT\nname\n30 ") + announced + " 1\n0 1 2\n10 3 4\n"));
            QCOMPARE(table.count, 2);
            QVERIFY(table.capacity < 100);
        }
    }

    void load_readsNoRows_forACountBelowZero()
    {
        QVERIFY(load("KFT\nname\n30 -4 1\n0 1 2\n"));
        QCOMPARE(table.count, 0);
        QCOMPARE(table.frames, 30);
    }

    void load_stopsAtTheFirstRowThatIsNoRow()
    {
        QVERIFY(load("KFT\nname\n30 3 1\n0 1 2\nten 3 4\n20 5 6\n"));
        QCOMPARE(table.count, 1);
        QVERIFY(load("KFT\nname\nnot a number\n"));
        QCOMPARE(table.count, 0);
        QCOMPARE(table.frames, 0);
        QVERIFY(!table.complete);
    }

    void load_saturatesNumbers_thatDoNotFit()
    {
        QVERIFY(load("KFT\nname\n9999999999 1 0\n-9999999999 1 2\n"));
        QCOMPARE(table.frames, std::numeric_limits<int>::max());
        QCOMPARE(table.entries[0].frame, std::numeric_limits<int>::min());
    }

    void load_survivesAFileThatEndsAnywhere()
    {
        const QByteArray whole("KFT\nname\n30 2 1\n0 1 2\n10 3 4\n");
        for (int size = 3; size <= whole.size(); ++size) {
            QVERIFY(load(whole.left(size)));
            QVERIFY(table.count >= 0 && table.count <= 2);
        }
        QCOMPARE(table.count, 2);
    }

    void load_cutsANameAfter1023Characters()
    {
        QVERIFY(load("KFT\n" + QByteArray(1023, 'n') + "\n30 1 1\n0 1 2\n"));
        QCOMPARE(int(std::strlen(table.fileName)), 1023);
        QCOMPARE(table.count, 1);
    }
};

TEST_CLASS(TestKeyFrameTableFile, QCoreApplication)
#include "tst_keyframetablefile.moc"
