#include "platform/diskwatch.h"

#include "archive/archivediscovery.h"
#include "platform/newdisknotifier.h"
#include "tests/platform/heapbytes.h"
#include "tests/platform/privatemounts.h"
#include "tests/support/capturedoutput.h"
#include "tests/support/files.h"

#include <QAbstractEventDispatcher>
#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <fcntl.h>

#include <memory>
#include <thread>
#include <vector>

namespace {

constexpr int kTwoSeconds = 2000;
constexpr int kManyRounds = 200;

QByteArray whyNoMounts;

/// Counts signals. Keeps nothing, so that it can be alive while memory is counted.
class Listener : public QObject
{
public:
    explicit Listener(const NewDiskNotifier &notifier)
    {
        connect(&notifier, &NewDiskNotifier::disksChanged, this, [this] { ++calls; });
    }

    int calls = 0;
};

struct Watched
{
    NewDiskNotifier notifier;
    Listener listener{notifier};
    const DiskWatch watch{&notifier};
};

/// Lets the event loop handle its sources a few times. The kernel raises its condition before a mount returns, so all
/// pending events are handled here, and a condition that is not reset would be handled again.
void handleWhatIsPending()
{
    for (int i = 0; i < 5; ++i)
        QCoreApplication::processEvents();
}

QFileInfoList openDescriptors()
{
    // System: a descriptor's name is a link that leads to no file when it is a pipe or a socket.
    return QDir(QStringLiteral("/proc/self/fd")).entryInfoList(QDir::Files | QDir::System);
}

} // namespace

class TestDiskWatchLinux : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (!whyNoMounts.isEmpty())
            QSKIP(whyNoMounts.constData());
        QVERIFY(m_root.isValid());
        m_folder = m_root.filePath(QStringLiteral("disk"));
        QVERIFY(QDir().mkpath(m_folder));
    }

    void init() { handleWhatIsPending(); }

    void watch_raisesTheSignal_withinTwoSecondsOfAMountAndOfAnUnmount()
    {
        const Watched watched;

        Mount disk = Mount::disk(m_folder);
        QVERIFY(disk.isMounted());
        QTRY_COMPARE_WITH_TIMEOUT(watched.listener.calls, 1, kTwoSeconds);
        QVERIFY(disk.unmount());
        QTRY_COMPARE_WITH_TIMEOUT(watched.listener.calls, 2, kTwoSeconds);
    }

    void watch_raisesOneSignal_perChange()
    {
        const Watched watched;

        for (int round = 0; round < 20; ++round) {
            Mount disk = Mount::disk(m_folder);
            handleWhatIsPending();
            QCOMPARE(watched.listener.calls, 2 * round + 1);
            QVERIFY(disk.unmount());
            handleWhatIsPending();
            QCOMPARE(watched.listener.calls, 2 * round + 2);
        }
    }

    void watch_raisesOneSignal_whenADiskAppearsInManyPlacesAtOnce()
    {
        // What is mounted in a shared folder appears in each copy of that folder too: one mount, many new lines in the
        // table.
        Mount folder = Mount::disk(m_folder);
        QVERIFY(folder.isMounted() && folder.share());
        QVERIFY(QDir(m_folder).mkdir(QStringLiteral("volume")));
        const QString volume = m_folder + QStringLiteral("/volume");
        std::vector<std::unique_ptr<Mount>> copies;
        for (int i = 0; i < 100; ++i) {
            const QString copy = m_root.filePath(QStringLiteral("copy%1").arg(i));
            QVERIFY(QDir().mkpath(copy));
            copies.emplace_back(new Mount(Mount::folderAsDisk(m_folder, copy)));
            QVERIFY(copies.back()->isMounted());
        }

        Watched watched;
        for (int round = 0; round < 50; ++round) {
            // From another thread, so that the event loop runs while the kernel adds one line after the other.
            watched.listener.calls = 0;
            std::unique_ptr<Mount> disk;
            std::thread mounting([&disk, &volume] { disk.reset(new Mount(Mount::disk(volume))); });
            const QDeadlineTimer deadline(kTwoSeconds);
            while (watched.listener.calls == 0 && !deadline.hasExpired())
                QCoreApplication::processEvents();
            mounting.join();
            handleWhatIsPending();
            QVERIFY(disk->isMounted());
            QCOMPARE(watched.listener.calls, 1);
            QVERIFY(disk->unmount());
            handleWhatIsPending();
        }
    }

    void watch_raisesASignal_whenADiskCameAndWentBeforeAnybodyLooked()
    {
        const Watched watched;

        Mount disk = Mount::disk(m_folder);
        QVERIFY(disk.unmount());
        handleWhatIsPending();
        QCOMPARE(watched.listener.calls, 1);
    }

    void watch_isSilent_whileNothingChanges()
    {
        const Mount before = Mount::disk(m_folder);
        const Watched watched;
        handleWhatIsPending();
        QCOMPARE(watched.listener.calls, 0); // what was there at the start is no change
    }

    void watch_letsTheEventLoopSleep_afterAChange()
    {
        const Watched watched;
        Mount disk = Mount::disk(m_folder);
        handleWhatIsPending();
        QCOMPARE(watched.listener.calls, 1);

        int wakeUps = 0;
        const auto *dispatcher = QAbstractEventDispatcher::instance();
        connect(dispatcher, &QAbstractEventDispatcher::awake, this, [&wakeUps] { ++wakeUps; });
        QEventLoop loop;
        QTimer::singleShot(300, &loop, &QEventLoop::quit);
        loop.exec();
        disconnect(dispatcher, nullptr, this, nullptr);

        // The timer's own, and a few that a dispatcher allows itself; a condition that stays raised makes thousands.
        QVERIFY2(wakeUps < 10, qPrintable(QString::number(wakeUps)));
    }

    void watch_keepsNoDiskFromBeingEjected()
    {
        NewDiskNotifier notifier;
        Mount disk = Mount::disk(m_folder);
        const DiskWatch watch(&notifier);
        handleWhatIsPending();
        QVERIFY(disk.unmount());
    }

    void diskList_followsAMountAndAnUnmount_whenReadAtTheSignal()
    {
        const QString recorder = m_root.filePath(QStringLiteral("recorder"));
        const QString mountPoint = m_root.filePath(QStringLiteral("volumes"));
        const QString volume = mountPoint + QStringLiteral("/RECORDER");
        QVERIFY(QDir().mkpath(recorder + QStringLiteral("/DVR/RECSINFO")) && QDir().mkpath(volume));
        QVERIFY(writeFile(recorder + QStringLiteral("/DVR/RECSINFO/RECS.INF"), {}));

        NewDiskNotifier notifier;
        const DiskWatch watch(&notifier);
        QStringList devices = findArchives(mountPoint);
        QCOMPARE(devices, QStringList());
        connect(&notifier, &NewDiskNotifier::disksChanged, this, [&] { devices = findArchives(mountPoint); });

        Mount disk = Mount::folderAsDisk(recorder, volume);
        QVERIFY(disk.isMounted());
        QTRY_COMPARE_WITH_TIMEOUT(devices, QStringList{volume}, kTwoSeconds);
        QVERIFY(disk.unmount()); // the scan has left nothing open on it
        QTRY_COMPARE_WITH_TIMEOUT(devices, QStringList(), kTwoSeconds);
    }

    void watch_leavesDescriptorsAndMemoryFlat_overManyMountsAndUnmounts()
    {
        Watched watched;
        staysFlat([this] {
            Mount disk = Mount::disk(m_folder);
            handleWhatIsPending();
            QVERIFY(disk.unmount());
            handleWhatIsPending();
        });
        QCOMPARE(watched.listener.calls, 2 * (1 + kManyRounds));
    }

    void watch_leavesDescriptorsAndMemoryFlat_overManyLives()
    {
        NewDiskNotifier notifier;
        staysFlat([this, &notifier] {
            const DiskWatch watch(&notifier);
            const Mount disk = Mount::disk(m_folder);
            handleWhatIsPending();
        });
    }

    void watch_closesItsDescriptor_inChildProcesses()
    {
        NewDiskNotifier notifier;
        const DiskWatch watch(&notifier);
        int tables = 0;
        for (const QFileInfo &descriptor : openDescriptors()) {
            if (!descriptor.symLinkTarget().endsWith(QLatin1String("/mountinfo")))
                continue;
            ++tables;
            QCOMPARE(fcntl(descriptor.fileName().toInt(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
        }
        QCOMPARE(tables, 1);
    }

    void watch_doesNothing_afterTheNotifierIsGone()
    {
        auto notifier = std::make_unique<NewDiskNotifier>();
        const Listener listener(*notifier);
        auto watch = std::make_unique<DiskWatch>(notifier.get());
        Mount disk = Mount::disk(m_folder);
        notifier.reset(); // with an event still pending
        handleWhatIsPending();
        QVERIFY(disk.unmount());
        handleWhatIsPending();
        watch.reset();
        QCOMPARE(listener.calls, 0);
    }

    void watch_isSilent_afterItsEnd()
    {
        NewDiskNotifier notifier;
        const Listener listener(notifier);
        const auto descriptors = openDescriptors().size();
        auto watch = std::make_unique<DiskWatch>(&notifier);
        const Mount disk = Mount::disk(m_folder);
        watch.reset(); // with an event still pending
        QCOMPARE(openDescriptors().size(), descriptors);
        handleWhatIsPending();
        QCOMPARE(listener.calls, 0);
    }

    void watch_saysSoAndRunsOn_whenTheTableCannotBeOpened()
    {
        Mount nothingToSee = Mount::disk(QStringLiteral("/proc"));
        QVERIFY(nothingToSee.isMounted());
        NewDiskNotifier notifier;
        const Listener listener(notifier);
        CapturedOutput capture(stderr);
        const auto watch = std::make_unique<DiskWatch>(&notifier);
        const QByteArray said = capture.text();
        QVERIFY(nothingToSee.unmount());

        QCOMPARE(said, QByteArray("DiskWatch: cannot open /proc/self/mountinfo (No such file or directory), "
                                  "disks that come and go are not noticed\n"));
        handleWhatIsPending();
        QCOMPARE(listener.calls, 0);
        notifier.Notify();
        QCOMPARE(listener.calls, 1);
    }

private:
    template <typename Round>
    static void staysFlat(const Round &round)
    {
        round(); // what is allocated once is allocated here
        const auto descriptors = openDescriptors().size();
        const std::size_t memory = heapBytes();
        for (int i = 0; i < kManyRounds; ++i)
            round();
        const std::size_t memoryAfter = heapBytes();
        QCOMPARE(openDescriptors().size(), descriptors);
        QVERIFY2(memoryAfter < memory + kManyRounds,
                 qPrintable(QStringLiteral("%1 -> %2").arg(memory).arg(memoryAfter)));
    }

    QTemporaryDir m_root;
    QString m_folder;
};

int main(int argc, char **argv)
{
    whyNoMounts = enterPrivateMounts(); // before Qt starts a thread
    const QCoreApplication application(argc, argv);
    TestDiskWatchLinux test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_diskwatch_linux.moc"
