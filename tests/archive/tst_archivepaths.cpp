#include "archive/archivepaths.h"
#include "tests/support/testclass.h"

#include "tests/support/testvolume.h"

class TestArchivePaths : public QObject
{
    Q_OBJECT

private slots:
    void paths_areJoinedAsTheyAre_data()
    {
        QTest::addColumn<QByteArray>("device");
        QTest::addColumn<QByteArray>("fileName");
        QTest::addColumn<QByteArray>("index");
        QTest::addColumn<QByteArray>("recording");
        QTest::newRow("usual") << QByteArray("/Volumes/Disk") << QByteArray("abc")
                               << QByteArray("/Volumes/Disk/DVR/RECSINFO/RECS.INF")
                               << QByteArray("/Volumes/Disk/DVR/RECS/abc.ts");
        QTest::newRow("trailing separator stays")
            << QByteArray("/d/") << QByteArray("../x/") << QByteArray("/d//DVR/RECSINFO/RECS.INF")
            << QByteArray("/d//DVR/RECS/../x/.ts");
        QTest::newRow("any bytes") << QByteArray("\xFF \xC3\xA4") << QByteArray("%1\xFE")
                                   << QByteArray("\xFF \xC3\xA4/DVR/RECSINFO/RECS.INF")
                                   << QByteArray("\xFF \xC3\xA4/DVR/RECS/%1\xFE.ts");
        QTest::newRow("empty") << QByteArray() << QByteArray() << QByteArray("/DVR/RECSINFO/RECS.INF")
                               << QByteArray("/DVR/RECS/.ts");
    }
    void paths_areJoinedAsTheyAre()
    {
        QFETCH(QByteArray, device);
        QFETCH(QByteArray, fileName);
        QFETCH(QByteArray, index);
        QFETCH(QByteArray, recording);
        QCOMPARE(indexPath(device.toStdString()), index.toStdString());
        QCOMPARE(recordingPath(device.toStdString(), fileName.toStdString()), recording.toStdString());
    }

    void holdsArchive_isTrue_whenTheIndexExists()
    {
        const QTemporaryDir volume;
        QVERIFY(TestVolume::create(volume.path(), QByteArray()));
        QVERIFY(holdsArchive(volume.path()));
    }

    void holdsArchive_isFalse_withoutIndex()
    {
        const QTemporaryDir volume;
        QVERIFY(!holdsArchive(volume.path()));
        QVERIFY(QDir(volume.path()).mkpath("DVR/RECSINFO"));
        QVERIFY(!holdsArchive(volume.path()));
        QVERIFY(!holdsArchive("/no/such/directory"));
    }

    void holdsArchive_asksForUpperCase_whateverTheFolderIsCalled()
    {
        const QTemporaryDir volume;
        QVERIFY(TestVolume::create(volume.path(), QByteArray(), "dvr"));
        const bool sameName = QFileInfo::exists(volume.path() + "/DVR");
        QCOMPARE(holdsArchive(volume.path()), sameName);
    }
};

TEST_CLASS(TestArchivePaths, quorvale::NoApplication)
#include "tst_archivepaths.moc"
