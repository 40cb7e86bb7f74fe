// How scans end: at the program's end, in the middle of a scan, and with series that nobody claimed.

#include "thumbs/scanthreads.h"

#include "tests/support/processfacts.h"
#include "tests/support/receivers.h"
#include "tests/support/seenqueues.h"
#include "tests/support/teststreams.h"
#include "thumbs/thumbnailscanner.h"

#include <QtTest>

#include <sys/stat.h>

using namespace quorvale;

namespace {

/// Counts the series that reach this thread.
struct Arrivals : QObject
{
    explicit Arrivals(const ThumbnailScanner &scanner)
    {
        connect(&scanner, &ThumbnailScanner::gotThumbs, this, [this] { ++count; });
    }
    int count = 0;
};

} // namespace

class TestScanThreads : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_recording =
            makeStream(m_directory.path(), {"recording.ts", {"-c:v", "mpeg2video", "-q:v", "8"}, 30, {160, 120}});
        QVERIFY(!m_recording.isEmpty());
    }

    void end_succeeds_withoutScans() { QVERIFY(ScanThreads::instance().end(0)); }

    void add_connectsNothing()
    {
        auto *thread = new QThread;
        auto *scanner = new ThumbnailScanner;
        ScanThreads::instance().add(thread, scanner);
        const QObject *objects[] = {thread, scanner, &ScanThreads::instance()};
        for (const QObject *object : objects)
            QCOMPARE(receiversOf(*object), (QMap<QByteArray, int>()));
        thread->start();                             // What it was given goes with it when it ends.
        QVERIFY(ScanThreads::instance().end(20000)); // which deletes both
    }

    void end_freesSeries_thatNobodyClaimed()
    {
        const Scan scan = start({m_recording, m_recording});
        const Arrivals arrivals(*scan.scanner);
        scan.thread->start();
        QTRY_VERIFY_WITH_TIMEOUT(arrivals.count > 0, 20000);
        QVERIFY(ScanThreads::instance().end(20000)); // The leak checker sees whether they are freed.
        QVERIFY(!scan.thread);
        QVERIFY(!scan.scanner);
    }

    void end_leavesSeries_thatWereClaimed()
    {
        const Scan scan = start({m_recording});
        QVector<QPixmap *> mine;
        connect(scan.scanner.data(), &ThumbnailScanner::gotThumbs, this,
                [&](const QString &, const QVector<QPixmap *> &x1, const QVector<QPixmap *> &x2) {
                    ScanThreads::instance().claim(x1);
                    mine = x1 + x2;
                });
        scan.thread->start();
        QTRY_VERIFY_WITH_TIMEOUT(!mine.isEmpty(), 20000);
        QVERIFY(ScanThreads::instance().end(20000));
        for (const QPixmap *pixmap : std::as_const(mine))
            QVERIFY(pixmap->width() > 0);
        qDeleteAll(mine);
    }

    void series_areForgotten_whenTheirScannerHasGone()
    {
        // One disk after the other, for as long as a session lasts.
        int arrived = 0;
        for (int disk = 0; disk < 20; ++disk) {
            const Scan scan = start({m_recording, m_recording, m_recording});
            connect(scan.scanner.data(), &ThumbnailScanner::gotThumbs, this,
                    [&](const QString &, const QVector<QPixmap *> &x1, const QVector<QPixmap *> &x2) {
                        ScanThreads::instance().claim(x1);
                        qDeleteAll(x1 + x2);
                        ++arrived;
                    });
            scan.thread->start();
            QTRY_VERIFY_WITH_TIMEOUT(!scan.scanner, 20000);
            QTRY_COMPARE_WITH_TIMEOUT(ScanThreads::instance().openClaims(), 0, 20000);
        }
        QCOMPARE(arrived, 60);
        QVERIFY(ScanThreads::instance().end(20000)); // What was forgotten is not freed once more.
    }

    void end_stopsAtTheNextFile_inTheMiddleOfAScan()
    {
        QStringList files;
        for (int i = 0; i < 2000; ++i)
            files.append(m_recording);
        const Scan scan = start(files);
        const Arrivals arrivals(*scan.scanner);
        scan.thread->start();
        QTRY_VERIFY_WITH_TIMEOUT(arrivals.count > 0, 20000);
        QVERIFY(ScanThreads::instance().end(20000));
        QCoreApplication::processEvents();
        QVERIFY(arrivals.count < files.size());
        QVERIFY(!scan.scanner);
    }

    void end_endsIdleThreads_ofEarlierScans()
    {
        QVector<Scan> scans;
        for (int i = 0; i < 3; ++i) {
            scans.append(start({}));
            scans.last().thread->start();
            QTRY_VERIFY(!scans.last().scanner); // finished at once and deleted itself
            QVERIFY(scans.last().thread->isRunning());
        }
        QVERIFY(ScanThreads::instance().end(20000));
        for (const Scan &scan : std::as_const(scans))
            QVERIFY(!scan.thread);
    }

    // A process may have as few as 1,024 descriptors; a day of clicking devices must not use them up.
    void idleThreads_costNoDescriptor()
    {
        if (!processfacts::available())
            QSKIP("needs to see what the process holds");
        QVector<Scan> scans;
        int before = 0;
        for (int i = 0; i < 40; ++i) {
            scans.append(start({m_directory.filePath("none.ts"), m_directory.filePath("none either.ts")}));
            scans.last().thread->start();
            QTRY_VERIFY(!scans.last().scanner); // finished and deleted itself
            QVERIFY(scans.last().thread->isRunning());
            if (i == 0)
                before = processfacts::openDescriptors();
        }
        QCOMPARE(processfacts::openDescriptors(), before);
        QVERIFY(ScanThreads::instance().end(20000));
    }

    void end_givesUp_whenAReadHangs()
    {
        // waitingopen.cpp has a part in this test. Opening a pipe without a writer hangs, like opening a file on a
        // disk that does not answer.
        const QByteArray pipe = m_directory.filePath("pipe.ts").toLocal8Bit();
        QCOMPARE(::mkfifo(pipe.constData(), 0600), 0);
        const Scan scan = start({QString::fromLocal8Bit(pipe)});
        scan.thread->start();
        QVERIFY(!ScanThreads::instance().end(50));
        QVERIFY(scan.thread->isRunning());
        // Once the read returns, the thread ends.
        QFile writer(QString::fromLocal8Bit(pipe));
        QVERIFY(writer.open(QIODevice::WriteOnly));
        writer.close();
        QVERIFY(ScanThreads::instance().end(20000));
    }

private:
    struct Scan
    {
        QPointer<QThread> thread;
        QPointer<ThumbnailScanner> scanner;
    };
    // Starts a scan as a window does.
    Scan start(const QStringList &files)
    {
        auto *thread = new QThread; // deletes itself
        auto *scanner = new ThumbnailScanner;
        scanner->files = files;
        scanner->firstFrame = 5;
        scanner->frameStep = 5;
        scanner->moveToThread(thread);
        ScanThreads::instance().add(thread, scanner);
        connect(thread, SIGNAL(started()), scanner, SLOT(process()));
        connect(scanner, SIGNAL(finished()), scanner, SLOT(deleteLater()));
        connect(thread, SIGNAL(finished()), thread, SLOT(deleteLater()));
        return {thread, scanner};
    }

    QTemporaryDir m_directory;
    QString m_recording;
};

SEEN_QUEUES_TEST_MAIN(TestScanThreads)
#include "tst_scanthreads.moc"
