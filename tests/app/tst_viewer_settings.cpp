// The two settings: how they are read and written.

#include "tests/support/testclass.h"
#include "tests/support/viewerfixture.h"

#include <sys/stat.h>

using namespace quorvale;

namespace {

QString storedFile()
{
    return ViewerFixture::settings().fileName();
}

} // namespace

class TestViewerSettings : public QObject
{
    Q_OBJECT

private slots:
    void load_takesDefaults_fromAnEmptyStore()
    {
        ViewerFixture fixture;
        fixture.settings().clear();
        const Viewer &viewer = fixture.open();
        QCOMPARE(viewer.mountPoint, QString("/Volumes"));
        QCOMPARE(viewer.dateFormat, 2);
    }

    void load_understandsTheStoredOrder_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<int>("dateFormat");
        QTest::addColumn<QString>("saved");
        QTest::newRow("dmy") << "dmy" << 0 << "dmy";
        QTest::newRow("mdy") << "mdy" << 1 << "mdy";
        QTest::newRow("ymd") << "ymd" << 2 << "ymd";
        QTest::newRow("other case") << "DMY" << 0 << "dmy";
        QTest::newRow("other case of another order") << "YMD" << 0 << "dmy";
        QTest::newRow("unknown") << "abc" << 0 << "dmy";
        QTest::newRow("empty") << "" << 0 << "dmy";
    }
    void load_understandsTheStoredOrder()
    {
        QFETCH(QString, stored);
        ViewerFixture fixture;
        fixture.settings().setValue("Main/dateformat", stored);
        QTEST(fixture.open().dateFormat, "dateFormat");
        QCOMPARE(fixture.settings().value("Main/dateformat").toString(), stored);
        fixture.close();
        QTEST(fixture.settings().value("Main/dateformat").toString(), "saved");
    }

    void load_keepsTheOrder_whenTheTextIsUnknown()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.open();
        fixture.settings().setValue("Main/dateformat", "abc");
        viewer.dateFormat = 1;
        viewer.loadSettings();
        QCOMPARE(viewer.dateFormat, 1);
    }

    void save_writesBothValues_whenTheWindowIsDestroyed_data()
    {
        QTest::addColumn<int>("dateFormat");
        QTest::addColumn<QString>("stored");
        QTest::newRow("0") << 0 << "dmy";
        QTest::newRow("1") << 1 << "mdy";
        QTest::newRow("2") << 2 << "ymd";
        QTest::newRow("unknown") << 7 << "";
    }
    void save_writesBothValues_whenTheWindowIsDestroyed()
    {
        QFETCH(int, dateFormat);
        ViewerFixture fixture;
        fixture.settings().clear();
        Viewer &viewer = fixture.open();
        viewer.dateFormat = dateFormat;
        viewer.mountPoint = "/media";
        QVERIFY(fixture.settings().allKeys().isEmpty()); // nothing before
        fixture.close();
        QTEST(fixture.settings().value("Main/dateformat").toString(), "stored");
        QCOMPARE(fixture.settings().value("Main/mount_point").toString(), QString("/media"));
        QCOMPARE(fixture.settings().allKeys().size(), 2);
        QVERIFY(storedFile().endsWith("/quorvale.org/quorvale.ini"));
    }

    void save_keepsAwkwardMountPoints_verbatim()
    {
        const QString awkward = QString::fromUtf8(" /media/a, b; \"c\"\\x/%1/M\xC3\xBCnchen/@Invalid() ");
        ViewerFixture fixture;
        fixture.open().mountPoint = awkward;
        QCOMPARE(fixture.open().mountPoint, awkward);
    }

    void load_takesDefaults_whereAPipeIsInTheFilesPlace()
    {
        for (const char *ending : {"", ".lock"}) {
            ViewerFixture fixture;
            const QString file = storedFile() + ending;
            QVERIFY(QFile::remove(file) == (*ending == 0) && ::mkfifo(QFile::encodeName(file).constData(), 0600) == 0);
            QCOMPARE(fixture.open().mountPoint, QString("/Volumes"));
            fixture.close();
            QVERIFY(!QFileInfo(file).isFile()); // nothing is stored
        }
    }

    // Qt reads these files, too, and would wait for each.
    void load_passesOver_aPipeInThePlaceOfAnotherFile_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("the organisation's") << "quorvale.org.ini";
        QTest::newRow("the system's") << "system/quorvale.org/quorvale.ini";
        QTest::newRow("the organisation's, of the system") << "system/quorvale.org.ini";
    }
    void load_passesOver_aPipeInThePlaceOfAnotherFile()
    {
        QFETCH(QString, name);
        ViewerFixture fixture;
        const QDir folder(QFileInfo(storedFile()).dir().filePath(".."));
        qputenv("XDG_CONFIG_DIRS", QFile::encodeName(folder.absoluteFilePath("system")));
        const auto restore = qScopeGuard([] { qunsetenv("XDG_CONFIG_DIRS"); });
        const QString pipe = folder.filePath(name);
        QVERIFY(QDir().mkpath(QFileInfo(pipe).path()) && ::mkfifo(QFile::encodeName(pipe).constData(), 0600) == 0);
        QCOMPARE(fixture.open().mountPoint, fixture.path());
        fixture.viewer->mountPoint = "/elsewhere";
        fixture.close();
        QVERIFY(QFile::remove(pipe));
        QCOMPARE(fixture.settings().value("Main/mount_point").toString(), QString("/elsewhere"));
    }

    // That the settings of whoever runs these tests are not touched. On macOS only the first half can be tested: there
    // the system's store is always the person's own.
    void store_isNotTheSystemsOwn_whereAnotherIsTheDefault()
    {
        ViewerFixture fixture;
        const QTemporaryDir systemsOwn;
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, systemsOwn.path());
        fixture.open().mountPoint = "/elsewhere";
        fixture.close();
        QCOMPARE(fixture.open().mountPoint, QString("/elsewhere"));
        fixture.close();
        QVERIFY(QFileInfo(storedFile()).size() > 0);
        QVERIFY(QDir(systemsOwn.path()).isEmpty());
    }

    void store_isTheSystemsOwn_unlessAnotherIsTheDefault()
    {
#ifdef Q_OS_MACOS
        QSKIP("It would be the settings of whoever runs this.");
#else
        ViewerFixture fixture;
        const QTemporaryDir systemsOwn;
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, systemsOwn.path());
        QSettings::setDefaultFormat(QSettings::NativeFormat);
        fixture.settings().clear();
        fixture.open().mountPoint = "/elsewhere";
        fixture.close();
        const QByteArray stored = TestVolume::readFile(systemsOwn.filePath("quorvale.org/quorvale.conf"));
        QCOMPARE(stored, QByteArray("[Main]\ndateformat=ymd\nmount_point=/elsewhere\n"));
        QVERIFY(fixture.settings().allKeys().isEmpty());
#endif
    }

    // A person may go from a program built with one Qt to one built with the other, and back.
    void file_isTheSameText_withEveryQt()
    {
        ViewerFixture fixture;
        fixture.open().mountPoint = QString::fromUtf8("/media/Jörg, 北/\\disk");
        fixture.close();
        QCOMPARE(TestVolume::readFile(storedFile()),
                 QByteArray("[Main]\ndateformat=ymd\nmount_point=\"/media/Jörg, 北/\\\\disk\"\n"));
    }

    void mountPoint_isRead_howeverItsLettersAreWritten()
    {
        for (const char *text : {"/media/Jörg", "/media/J\\xf6rg"}) {
            ViewerFixture fixture;
            QVERIFY(TestVolume::writeFile(storedFile(), QByteArray("[Main]\nmount_point=") + text + '\n'));
            QCOMPARE(fixture.open().mountPoint, QString::fromUtf8("/media/Jörg"));
        }
    }
};

TEST_CLASS(TestViewerSettings, QApplication)
#include "tst_viewer_settings.moc"
