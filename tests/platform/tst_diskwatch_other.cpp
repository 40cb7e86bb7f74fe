#include "platform/diskwatch.h"
#include "platform/newdisknotifier.h"
#include "tests/support/capturedoutput.h"

#include <QSignalSpy>
#include <QTest>

#include <memory>

class TestDiskWatchOther : public QObject
{
    Q_OBJECT

private slots:
    void watch_saysThatNothingIsWatched_andLeavesTheNotifierToBeRaisedByHand()
    {
        NewDiskNotifier notifier;
        const QSignalSpy spy(&notifier, &NewDiskNotifier::disksChanged);
        CapturedOutput capture(stderr);
        auto watch = std::make_unique<DiskWatch>(&notifier);
        QCOMPARE(capture.text(), QByteArray("DiskWatch: this system's disk events are not known, "
                                            "disks that come and go are not noticed\n"));
        QCoreApplication::processEvents();
        QCOMPARE(spy.count(), 0);
        notifier.Notify();
        QCOMPARE(spy.count(), 1);
        watch.reset();
    }
};

QTEST_GUILESS_MAIN(TestDiskWatchOther)
#include "tst_diskwatch_other.moc"
