#include "app/recordingsize.h"
#include "tests/support/testclass.h"

#include "tests/support/testvolume.h"

#include <QTemporaryDir>
#include <QtTest>

#include <limits>

using namespace quorvale;

class TestRecordingSize : public QObject
{
    Q_OBJECT

private slots:
    void size_isNone_withoutMainFile()
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath("a.ts");
        QVERIFY(!recordingSizeKB(path).has_value());
        QVERIFY(TestVolume::writeSparseFile(path + "1", 4096));
        QVERIFY(!recordingSizeKB(path).has_value());
    }

    void size_truncatesEachFile_toWholeKiB()
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath("a.ts");
        QVERIFY(TestVolume::writeSparseFile(path, 500000));
        QCOMPARE(recordingSizeKB(path), std::optional<int>(488));
        QVERIFY(TestVolume::writeSparseFile(path, 1023));
        QVERIFY(TestVolume::writeSparseFile(path + "1", 1023));
        QVERIFY(TestVolume::writeSparseFile(path + "2", 1025));
        QCOMPARE(recordingSizeKB(path), std::optional<int>(1));
        QVERIFY(TestVolume::writeSparseFile(path, 0));
        QCOMPARE(recordingSizeKB(path), std::optional<int>(1));
    }

    void size_addsPieces_fromOneOn()
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath("a.ts");
        QVERIFY(TestVolume::writeSparseFile(path, qint64(1000) << 20));
        QVERIFY(TestVolume::writeSparseFile(path + "0", 4096));
        QVERIFY(TestVolume::writeSparseFile(path + "1", qint64(500) << 20));
        QCOMPARE(recordingSizeKB(path), std::optional<int>(1536000));
    }

    void size_endsAtAGap_inThePieceNumbers()
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath("a.ts");
        for (const char *piece : {"", "1", "3"})
            QVERIFY(TestVolume::writeSparseFile(path + piece, 10240));
        QCOMPARE(recordingSizeKB(path), std::optional<int>(20));
    }

    void size_countsMoreThanNinePieces()
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath("a.ts");
        QVERIFY(TestVolume::writeSparseFile(path, 1024));
        for (int piece = 1; piece <= 12; ++piece)
            QVERIFY(TestVolume::writeSparseFile(path + QString::number(piece), 1024));
        QCOMPARE(recordingSizeKB(path), std::optional<int>(13));
    }

    void size_isTheLargestNumber_beyondTwoTiB()
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath("a.ts");
        if (!TestVolume::writeSparseFile(path, qint64(3) << 40))
            QSKIP("This file system holds no file of three TiB.");
        QCOMPARE(recordingSizeKB(path), std::optional<int>(std::numeric_limits<int>::max()));
    }
};

TEST_CLASS(TestRecordingSize, quorvale::NoApplication)
#include "tst_recordingsize.moc"
