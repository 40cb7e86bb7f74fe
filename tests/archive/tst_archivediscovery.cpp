#include "archive/archivediscovery.h"

#include "tests/support/capturedoutput.h"
#include "tests/support/testclass.h"
#include "tests/support/testvolume.h"

#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char kCannotEnter[] = "scanDrives() -> cd FAIL\n";

// The order in which the file system itself lists the directories of `path`.
QStringList listingOrder(const QString &path)
{
    return QDir(path).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Unsorted);
}

QStringList under(const QString &directory, const QStringList &names)
{
    QStringList paths;
    for (const QString &name : names)
        paths.append(directory + '/' + name);
    return paths;
}

/// Takes an ordinary user's rights while it lives: root may enter every directory.
class OrdinaryUser
{
public:
    OrdinaryUser()
    {
        if (::geteuid() == 0)
            m_switched = ::seteuid(kNobody) == 0;
    }
    ~OrdinaryUser()
    {
        if (m_switched && ::seteuid(0) != 0)
            std::abort();
    }
    OrdinaryUser(const OrdinaryUser &) = delete;
    OrdinaryUser &operator=(const OrdinaryUser &) = delete;

private:
    static constexpr uid_t kNobody = 65534;
    bool m_switched = false;
};

/// Sets the permissions of a directory and makes it removable again at the end.
class Permissions
{
public:
    Permissions(const QString &path, mode_t mode)
        : m_path(path.toLocal8Bit())
    {
        ::chmod(m_path.constData(), mode);
    }
    ~Permissions() { ::chmod(m_path.constData(), 0755); }
    Permissions(const Permissions &) = delete;
    Permissions &operator=(const Permissions &) = delete;

private:
    QByteArray m_path;
};

} // namespace

class TestArchiveDiscovery : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_mountPoint = std::make_unique<QTemporaryDir>();
        QVERIFY(m_mountPoint->isValid());
        QCOMPARE(::chmod(m_mountPoint->path().toLocal8Bit().constData(), 0755), 0); // not for its owner alone
    }

    void find_givesNothing_fromAnEmptyOrMissingMountPoint()
    {
        QCOMPARE(findArchives(path()), QStringList());
        QCOMPARE(findArchives(path("missing")), QStringList());
    }

    void find_givesNothing_fromAnEmptyText_whereverTheProgramStands()
    {
        QVERIFY(makeVolume("disk"));
        const QString home = QDir::currentPath();
        QVERIFY(QDir::setCurrent(path()));
        const QStringList found = findArchives(QString());
        QVERIFY(QDir::setCurrent(home));
        QCOMPARE(found, QStringList());
    }

    void find_givesVolumesWithAnArchive_inListingOrder()
    {
        for (const char *name : {"zeta", "alpha", "Disk 2", "M\xC3\xBCnchen"})
            QVERIFY(makeVolume(QString::fromUtf8(name)));
        QCOMPARE(findArchives(path()), under(path(), listingOrder(path())));
        QCOMPARE(findArchives(path()).size(), 4);
    }

    void find_passesOver_volumesWithoutIndex()
    {
        QVERIFY(QDir(path()).mkpath("no index/DVR/RECSINFO"));
        QVERIFY(QDir(path()).mkpath("no folder"));
        QVERIFY(QDir(path()).mkpath("other folder/DVR2/RECSINFO"));
        QVERIFY(makeVolume("disk"));
        QVERIFY(QDir(path()).mkpath("disk/DVR2"));
        QCOMPARE(findArchives(path()), QStringList(path("disk")));
    }

    void find_passesOver_hiddenVolumesFilesAndDeeperOnes()
    {
        QVERIFY(makeVolume(".hidden"));
        QVERIFY(makeVolume("group/deeper"));
        QVERIFY(TestVolume::writeFile(path("file"), "DVR"));
        QVERIFY(TestVolume::create(path(), QByteArray())); // The mount point itself is no volume.
        QCOMPARE(findArchives(path()), QStringList());
    }

    void find_followsSymbolicLinksToDirectories()
    {
        const QTemporaryDir elsewhere;
        QVERIFY(TestVolume::create(elsewhere.path(), QByteArray()));
        QVERIFY(QFile::link(elsewhere.path(), path("link")));
        QVERIFY(QFile::link(elsewhere.path() + "/DVR/RECSINFO/RECS.INF", path("link to a file")));
        QVERIFY(makeVolume("disk"));
        QStringList found = findArchives(path());
        found.sort();
        QCOMPARE(found, QStringList({path("disk"), path("link")}));
    }

    void find_ignoresCaseOfTheFolder_butNotOfTheIndex()
    {
        QVERIFY(TestVolume::create(path("lower"), QByteArray(), "dvr"));
        // The index is looked for under "DVR" whatever the folder's name, so it depends on the file system.
        const bool sameName = QFileInfo::exists(path("lower/DVR"));
        QCOMPARE(findArchives(path()), sameName ? QStringList(path("lower")) : QStringList());
    }

    void find_givesAVolumeTwice_whenTwoOfItsFoldersMatch()
    {
        QVERIFY(makeVolume("disk"));
        if (QFileInfo::exists(path("disk/dvr")))
            QSKIP("This file system takes dvr and DVR for the same name.");
        QVERIFY(QDir(path("disk")).mkdir("dvr"));
        QCOMPARE(findArchives(path()), QStringList({path("disk"), path("disk")}));
    }

    void find_givesCleanAbsolutePaths_fromAnUntidyMountPoint()
    {
        QVERIFY(makeVolume("disk"));
        QCOMPARE(findArchives(path() + "/"), QStringList(path("disk")));
        const QString home = QDir::currentPath();
        QVERIFY(QDir::setCurrent(path()));
        const QStringList found = findArchives(".");
        const QString expected = QDir::currentPath() + "/disk";
        QVERIFY(QDir::setCurrent(home));
        QCOMPARE(found, QStringList(expected));
    }

    void find_goesOnSilently_afterABrokenLink()
    {
        QVERIFY(QFile::link(path("nowhere"), path("broken")));
        QVERIFY(makeVolume("disk"));
        CapturedOutput output(stdout);
        const QStringList found = findArchives(path());
        QCOMPARE(output.text(), QByteArray());
        QCOMPARE(found, QStringList(path("disk")));
    }

    void find_findsNothing_inADirectoryWithoutPermission()
    {
        QVERIFY(makeVolume("closed"));
        QVERIFY(makeVolume("open"));
        const Permissions closed(path("closed"), 0000);
        const OrdinaryUser user;
        QCOMPARE(findArchives(path()), QStringList(path("open")));
    }

    void find_losesItsWay_afterAnEntryThatCannotBeEntered()
    {
        // The mount point may be listed but not searched, so none of its entries can be entered:
        //   outer/mount/a, b    the walker stays in mount, looks around there, goes up to outer;
        //                       cannot enter outer/b either, looks around in outer, goes up again.
        QVERIFY(QDir(path()).mkpath("outer/mount/a"));
        QVERIFY(QDir(path()).mkpath("outer/mount/b"));
        QVERIFY(makeVolume("outer"));
        const Permissions listedOnly(path("outer/mount"), 0444);
        const OrdinaryUser user;
        struct stat entry;
        if (::stat(path("outer/mount/a").toLocal8Bit().constData(), &entry) == 0)
            QSKIP("Permissions do not hold for this user.");
        CapturedOutput output(stdout);
        const QStringList found = findArchives(path("outer/mount"));
        const off_t written = ::lseek(::fileno(stdout), 0, SEEK_CUR); // and not held back: the program may end any time
        QCOMPARE(output.text(), QByteArray(kCannotEnter).repeated(2));
        QCOMPARE(qint64(written), qint64(2 * qstrlen(kCannotEnter)));
        QCOMPARE(found, QStringList(path("outer")));
    }

private:
    [[nodiscard]] QString path(const QString &name = QString()) const
    {
        return name.isEmpty() ? m_mountPoint->path() : m_mountPoint->filePath(name);
    }

    bool makeVolume(const QString &name) { return TestVolume::create(path(name), QByteArray()); }

    std::unique_ptr<QTemporaryDir> m_mountPoint;
};

TEST_CLASS(TestArchiveDiscovery, quorvale::NoApplication)
#include "tst_archivediscovery.moc"
