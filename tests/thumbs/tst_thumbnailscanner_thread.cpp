#include "tests/support/seenqueues.h"
#include "tests/support/teststreams.h"
#include "tests/thumbs/scanrun.h"

#include <QtTest>

#include <atomic>
#include <memory>

using namespace quorvale;

namespace {

// What the pictures of recording number `recording` say.
Numbers numbersOf(unsigned recording)
{
    Numbers numbers;
    for (const unsigned frame : {40, 70, 100, 130, 160})
        numbers.emplace_back(1000 * recording + frame);
    return numbers;
}

// Stands where the main window does: it is connected by the text of the signatures.
class Window : public QObject
{
    Q_OBJECT

public:
    QStringList events;
    std::vector<Numbers> numbers;
    QList<QThread *> threads;

public slots:
    void SetThumbs(const QString &file, const QVector<QPixmap *> &small, const QVector<QPixmap *> &large)
    {
        events << "gotThumbs " + file;
        threads << QThread::currentThread();
        std::vector<QImage> images;
        for (const QPixmap *pixmap : large)
            images.push_back(pixmap->toImage());
        numbers.push_back(numbersIn(images));
        qDeleteAll(small);
        qDeleteAll(large);
    }
    void scanDone()
    {
        events << QStringLiteral("finished");
        threads << QThread::currentThread();
    }
};

} // namespace

/// The scanner on a thread of its own, started, connected and ended as the program does it.
class TestThumbnailScannerThread : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qRegisterMetaType<QVector<QPixmap *>>("QVector<QPixmap *>");
        QVERIFY(dir.isValid());
        for (int i = 0; i < 3; ++i) {
            // So many pictures that some are decoded ahead.
            TestStream stream{QStringLiteral("%1.ts").arg(i), {"-c:v", "mpeg2video", "-q:v", "8"}, 180};
            stream.firstNumber = 1000U * unsigned(i);
            files << makeStream(dir.path(), stream);
            QVERIFY(!files.last().isEmpty());
        }
    }

    void init()
    {
        window = std::make_unique<Window>();
        thread = std::make_unique<QThread>();
        scanner = new ThumbnailScanner;
        setUp(*scanner);
        scanner->moveToThread(thread.get());
        QVERIFY(connect(thread.get(), SIGNAL(started()), scanner, SLOT(process())));
        QVERIFY(connect(scanner, SIGNAL(gotThumbs(QString, QVector<QPixmap *>, QVector<QPixmap *>)), window.get(),
                        SLOT(SetThumbs(QString, QVector<QPixmap *>, QVector<QPixmap *>))));
        QVERIFY(connect(scanner, SIGNAL(finished()), window.get(), SLOT(scanDone())));
        QVERIFY(connect(scanner, SIGNAL(finished()), scanner, SLOT(deleteLater())));
    }

    void cleanup()
    {
        thread->quit();
        QVERIFY(thread->wait(60000));
        QVERIFY(scanner.isNull());
        QCoreApplication::processEvents(); // series that were still on their way
        thread.reset();
        window.reset();
    }

    void scan_sendsEverySeriesInOrder_andFinishesLast()
    {
        thread->start(QThread::InheritPriority);
        QTRY_VERIFY_WITH_TIMEOUT(window->events.contains("finished"), 60000);
        QCOMPARE(window->events, (QStringList{"gotThumbs " + files.at(0), "gotThumbs " + files.at(1),
                                              "gotThumbs " + files.at(2), "finished"}));
        QCOMPARE(window->numbers, (std::vector<Numbers>{numbersOf(0), numbersOf(1), numbersOf(2)}));
        for (const QThread *receiving : std::as_const(window->threads))
            QCOMPARE(receiving, QThread::currentThread());
    }

    void signals_areSentOnTheScannersThread()
    {
        std::atomic<QThread *> sending{nullptr};
        std::atomic<QThread *> finishing{nullptr};
        connect(
            scanner, &ThumbnailScanner::gotThumbs, scanner, [&] { sending = QThread::currentThread(); },
            Qt::DirectConnection);
        connect(
            scanner, &ThumbnailScanner::finished, scanner, [&] { finishing = QThread::currentThread(); },
            Qt::DirectConnection);
        thread->start();
        QTRY_VERIFY_WITH_TIMEOUT(window->events.contains("finished"), 60000);
        QCOMPARE(sending.load(), thread.get());
        QCOMPARE(finishing.load(), thread.get());
    }

    // The halt comes from the window's thread, as in the program, while the scanner works on the first file: the worker
    // waits for it there.
    void halt_takesEffectAtTheNextFile_whenTheWindowAsksForItDuringOne()
    {
        Hold hold;
        startAndHold(hold);
        QVERIFY(QMetaObject::invokeMethod(scanner, "halt", Qt::QueuedConnection));
        hold.goOn.release();
        QTRY_VERIFY_WITH_TIMEOUT(window->events.contains("finished"), 60000);
        QCOMPARE(window->events, (QStringList{"gotThumbs " + files.at(0), "finished"}));
        QCOMPARE(window->numbers, (std::vector<Numbers>{numbersOf(0)}));
    }

    // Wherever the scan is when it is asked for, between two files or while a file's pictures are decoded at once.
    void halt_completesTheFileInHand_atAnyTime()
    {
        delete scanner; // Its thread was not started: this test has scans of its own.
        for (int turns = 0; turns < 12; ++turns) {
            ThumbnailScanner halted;
            QThread scanThread; // ends first
            setUp(halted);
            halted.moveToThread(&scanThread);
            Window receiver;
            connect(&scanThread, &QThread::started, &halted, &ThumbnailScanner::process);
            connect(&halted, &ThumbnailScanner::gotThumbs, &receiver, &Window::SetThumbs);
            connect(&halted, &ThumbnailScanner::finished, &receiver, &Window::scanDone);
            scanThread.start();
            for (int i = 0; i < 1000 * turns; ++i)
                QCoreApplication::processEvents();
            QMetaObject::invokeMethod(&halted, "halt", Qt::QueuedConnection);
            QTRY_VERIFY_WITH_TIMEOUT(receiver.events.contains("finished"), 60000);
            scanThread.quit();
            QVERIFY(scanThread.wait(60000));
            QVERIFY(receiver.numbers.size() <= std::size_t(files.size()));
            for (std::size_t i = 0; i < receiver.numbers.size(); ++i)
                QCOMPARE(receiver.numbers.at(i), numbersOf(unsigned(i)));
        }
    }

    void quit_endsTheThreadBetweenTwoFiles()
    {
        Hold hold;
        startAndHold(hold);
        thread->quit();
        hold.goOn.release();
        QVERIFY(thread->wait(60000));
        QCoreApplication::processEvents();
        QCOMPARE(window->events, QStringList{"gotThumbs " + files.at(0)});
        delete scanner; // its thread has ended, so it is this thread's to delete
    }

    void scan_finishesAtOnce_withoutFiles()
    {
        scanner->files.clear();
        thread->start();
        QTRY_VERIFY_WITH_TIMEOUT(window->events.contains("finished"), 60000);
        QCOMPARE(window->events, QStringList{"finished"});
    }

    // One scan after the other, as when devices are clicked; the idle threads of the earlier ones stay.
    void scan_canFollowAnother_onAThreadOfItsOwn()
    {
        ThumbnailScanner *second = new ThumbnailScanner;
        QThread secondThread;
        second->files = QStringList{files.at(1)};
        second->firstFrame = 30;
        second->frameStep = 900;
        second->moveToThread(&secondThread);
        Window secondWindow;
        connect(&secondThread, &QThread::started, second, &ThumbnailScanner::process);
        connect(second, &ThumbnailScanner::gotThumbs, &secondWindow, &Window::SetThumbs);
        connect(second, &ThumbnailScanner::finished, &secondWindow, &Window::scanDone);
        connect(second, &ThumbnailScanner::finished, second, &QObject::deleteLater);
        thread->start();
        QTRY_VERIFY_WITH_TIMEOUT(window->events.contains("finished"), 60000);
        secondThread.start();
        QTRY_VERIFY_WITH_TIMEOUT(secondWindow.events.contains("finished"), 60000);
        QCOMPARE(secondWindow.events, (QStringList{"gotThumbs " + files.at(1), "finished"}));
        QCOMPARE(secondWindow.numbers, (std::vector<Numbers>{{1030}}));
        secondThread.quit();
        QVERIFY(secondThread.wait(60000));
    }

private:
    void setUp(ThumbnailScanner &whole) const
    {
        whole.files = files;
        whole.firstFrame = 40;
        whole.frameStep = 30;
    }

    struct Hold
    {
        QSemaphore sent;
        QSemaphore goOn;
    };
    // Comes back when the first series has been sent; the worker waits there.
    void startAndHold(Hold &hold)
    {
        connect(
            scanner, &ThumbnailScanner::gotThumbs, scanner,
            [&] {
                hold.sent.release();
                hold.goOn.acquire();
            },
            Qt::DirectConnection);
        thread->start();
        hold.sent.acquire();
    }

    QTemporaryDir dir;
    QStringList files;
    std::unique_ptr<Window> window;
    std::unique_ptr<QThread> thread;
    QPointer<ThumbnailScanner> scanner;
};

SEEN_QUEUES_TEST_MAIN(TestThumbnailScannerThread)
#include "tst_thumbnailscanner_thread.moc"
