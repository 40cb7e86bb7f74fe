#include "tests/support/testclass.h"
#include "thumbs/thumbnailscanner.h"

#include "tests/support/teststreams.h"
#include "tests/thumbs/scanrun.h"

class TestThumbnailScanner : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        const QStringList encoder{"-c:v", "mpeg2video", "-g", "12", "-bf", "2", "-q:v", "6"};
        longFile = makeStream(dir.path(), {"long.ts", encoder, 910, {352, 288}, {12, 11}});
        shortFile = makeStream(dir.path(), {"short.ts", encoder, 400, {352, 288}});
        unicodeFile = dir.filePath(QString::fromUtf8("Tagesschau \xC3\xBC \xE6\x97\xA5.ts"));
        missingFile = dir.filePath("missing.ts");
        QVERIFY(!longFile.isEmpty() && !shortFile.isEmpty());
        QVERIFY(QFile::link(shortFile, unicodeFile));
    }

    void fields_haveTheMainWindowsValues_fromTheStart()
    {
        const ThumbnailScanner scanner;
        QVERIFY(scanner.files.isEmpty());
        QCOMPARE(scanner.running, true);
        QCOMPARE(scanner.index, 0);
        QCOMPARE(scanner.firstFrame, 150);
        QCOMPARE(scanner.frameStep, 150);
    }

    void construct_takesAParent()
    {
        QObject parent;
        const QPointer<ThumbnailScanner> scanner = new ThumbnailScanner(&parent);
        QCOMPARE(scanner->parent(), &parent);
    }

    void metaObject_listsSignalsAndThenSlots_inTheirOrder()
    {
        const QMetaObject &meta = ThumbnailScanner::staticMetaObject;
        QByteArrayList methods;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            const QMetaMethod method = meta.method(i);
            methods << (method.methodType() == QMetaMethod::Signal ? "signal " : "slot ") + method.name() + "/" +
                           QByteArray::number(method.parameterCount());
        }
        QCOMPARE(methods, (QByteArrayList{"signal gotThumbs/3", "signal missingVideo/1", "signal finished/0",
                                          "slot process/0", "slot halt/0"}));
        // As the main window spells it.
        const char *spelled = "gotThumbs(QString, QVector<QPixmap *>, QVector<QPixmap *>)";
        QCOMPARE(meta.indexOfSignal(QMetaObject::normalizedSignature(spelled)), meta.methodOffset());
    }

    void scan_takesFivePictures_ofALongRecording()
    {
        const ScanResult result = runScan(QStringList{longFile});
        QCOMPARE(result.events, (QStringList{"gotThumbs " + longFile, "finished"}));
        QCOMPARE(result.errors, QByteArray());
        const ScannedSeries &series = result.series.at(0);
        QCOMPARE(series.file, longFile);
        QCOMPARE(numbersIn(series.large), (Numbers{150, 300, 450, 600, 750}));
        QCOMPARE(numbersIn(series.small), (Numbers{150, 300, 450, 600, 750}));
        QVERIFY(series.largeIsDense);
        for (std::size_t i = 0; i < 5; ++i) {
            QCOMPARE(series.small.at(i).size(), QSize(160, 120));
            QCOMPARE(series.large.at(i).size(), QSize(320, 240));
        }
    }

    void scan_keepsWhatItGot_ofARecordingThatIsTooShort()
    {
        const ScanResult result = runScan(QStringList{shortFile});
        QCOMPARE(result.events, (QStringList{"gotThumbs " + shortFile, "finished"}));
        QCOMPARE(result.errors, kUnreadable);
        QCOMPARE(numbersIn(result.series.at(0).large), (Numbers{150, 300}));
        QCOMPARE(numbersIn(result.series.at(0).small), (Numbers{150, 300}));
        QCOMPARE(result.series.at(0).large.at(0).size(), QSize(293, 240));
        QCOMPARE(result.series.at(0).small.at(0).size(), QSize(146, 120));
    }

    void scan_takesThePicturesAskedFor_below900_data()
    {
        QTest::addColumn<int>("firstFrame");
        QTest::addColumn<int>("frameStep");
        QTest::addColumn<QString>("numbers");
        QTest::addColumn<int>("messages");
        QTest::newRow("from the first") << 0 << 300 << "0 300 600" << 0;
        QTest::newRow("the last one of all") << 899 << 150 << "899" << 0;
        QTest::newRow("one too far") << 900 << 150 << "" << 0;
        QTest::newRow("far too far") << 2147483647 << 150 << "" << 0;
        QTest::newRow("a step that ends at 900") << 450 << 450 << "450" << 0;
        QTest::newRow("a step that ends at 899") << 449 << 450 << "449 899" << 0;
        QTest::newRow("a step beyond all numbers") << 10 << 2147483647 << "10" << 0;
        QTest::newRow("a negative number") << -1 << 150 << "" << 1;
        QTest::newRow("backwards") << 20 << -10 << "20 10 0" << 1;
        QTest::newRow("no step: one picture") << 30 << 0 << "30" << 0;
    }
    void scan_takesThePicturesAskedFor_below900()
    {
        QFETCH(int, firstFrame);
        QFETCH(int, frameStep);
        const ScanResult result = runScan(QStringList{longFile}, firstFrame, frameStep);
        QCOMPARE(result.events, (QStringList{"gotThumbs " + longFile, "finished"}));
        QStringList numbers;
        for (const auto &number : numbersIn(result.series.at(0).large))
            numbers << (number ? QString::number(*number) : QStringLiteral("unreadable"));
        QTEST(numbers.join(' '), "numbers");
        QCOMPARE(result.series.at(0).small.size(), result.series.at(0).large.size());
        QTEST(int(result.errors.count(kUnreadable)), "messages");
        QCOMPARE(result.errors.size(), result.errors.count(kUnreadable) * kUnreadable.size());
    }

    void scan_sendsEmptySeries_ofEveryFileThatOpens_beyondTheLimit()
    {
        const ScanResult result = runScan({shortFile, missingFile, longFile}, 900, 150);
        QCOMPARE(result.events, (QStringList{"gotThumbs " + shortFile, "missingVideo " + missingFile,
                                             "gotThumbs " + longFile, "finished"}));
        QCOMPARE(result.errors, QByteArray());
        for (const ScannedSeries &series : result.series)
            QVERIFY(series.small.empty() && series.large.empty());
    }

    void scan_finishesAtOnce_withoutFiles()
    {
        ThumbnailScanner scanner;
        const ScanListener listener(scanner);
        scanner.process();
        QCOMPARE(listener.events, QStringList{"finished"});
    }

    void process_handlesOneFile_perCall()
    {
        ThumbnailScanner scanner;
        scanner.files = QStringList{missingFile, shortFile, missingFile};
        scanner.firstFrame = 3;
        scanner.frameStep = 900;
        const ScanListener listener(scanner);
        scanner.process();
        QCOMPARE(listener.events, QStringList{"missingVideo " + missingFile});
        QCOMPARE(scanner.index, 1);
        QCoreApplication::sendPostedEvents(&scanner); // the posted call; it posts the next one
        QTRY_COMPARE(listener.events.size(), 4);
        QCOMPARE(listener.events, (QStringList{"missingVideo " + missingFile, "gotThumbs " + shortFile,
                                               "missingVideo " + missingFile, "finished"}));
        QCOMPARE(scanner.index, 3);
    }

    void process_stillPointsAtTheFile_whileItReportsIt()
    {
        ThumbnailScanner scanner;
        scanner.files = QStringList{missingFile, shortFile};
        scanner.firstFrame = 900;
        QList<int> indices;
        connect(&scanner, &ThumbnailScanner::missingVideo, this, [&] { indices << scanner.index; });
        connect(&scanner, &ThumbnailScanner::gotThumbs, this, [&] { indices << scanner.index; });
        runScan(scanner);
        QCOMPARE(indices, (QList<int>{0, 1}));
    }

    void process_startsAtTheIndexGiven_andCanBeStartedAgain()
    {
        ThumbnailScanner scanner;
        scanner.files = QStringList{missingFile, missingFile + "2"};
        scanner.index = 1;
        QCOMPARE(runScan(scanner).events, (QStringList{"missingVideo " + missingFile + "2", "finished"}));
        QCOMPARE(runScan(scanner).events, QStringList{"finished"});
        scanner.files << shortFile;
        scanner.firstFrame = 900;
        QCOMPARE(runScan(scanner).events, (QStringList{"gotThumbs " + shortFile, "finished"}));
    }

    void process_doesNothingMore_afterItHasFinished()
    {
        ThumbnailScanner scanner;
        const ScanListener listener(scanner);
        scanner.process();
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        QCOMPARE(listener.events, QStringList{"finished"});
    }

    void halt_onlyClearsTheFlag()
    {
        ThumbnailScanner scanner;
        scanner.files = QStringList{shortFile};
        const ScanListener listener(scanner);
        scanner.halt();
        QCOMPARE(scanner.running, false);
        QCOMPARE(scanner.index, 0);
        QCOMPARE(scanner.files, QStringList{shortFile});
        QCoreApplication::processEvents();
        QVERIFY(listener.events.isEmpty());
        scanner.process();
        QCOMPARE(listener.events, QStringList{"finished"});
    }

    // A call that is queued while a file is read runs before the next file.
    void halt_letsTheFileInHandBeCompleted()
    {
        ThumbnailScanner scanner;
        scanner.files = QStringList{shortFile, longFile};
        const ScanListener listener(scanner);
        QMetaObject::invokeMethod(&scanner, "process", Qt::QueuedConnection);
        QMetaObject::invokeMethod(&scanner, "halt", Qt::QueuedConnection);
        CapturedOutput capture(stderr);
        QTRY_VERIFY(listener.events.contains("finished"));
        QCOMPARE(capture.text(), kUnreadable);
        QCOMPARE(listener.events, (QStringList{"gotThumbs " + shortFile, "finished"}));
        QCOMPARE(numbersIn(listener.series.at(0).large), (Numbers{150, 300}));
        QCOMPARE(scanner.index, 1);
    }

    void scan_opensNamesThatAreNotAscii()
    {
        const ScanResult result = runScan(QStringList{unicodeFile}, 7, 900);
        QCOMPARE(result.events, (QStringList{"gotThumbs " + unicodeFile, "finished"}));
        QCOMPARE(numbersIn(result.series.at(0).large), (Numbers{7}));
    }

    // What a leak checker says about this is the result.
    void scan_freesItsPixmaps_whereNoOneReceivesThem()
    {
        ThumbnailScanner scanner;
        scanner.files = QStringList{shortFile};
        scanner.firstFrame = 0;
        scanner.frameStep = 300;
        QSignalSpy finished(&scanner, &ThumbnailScanner::finished);
        scanner.process();
        QCOMPARE(finished.count(), 0); // The event loop comes between a file and whatever is next.
        QTRY_COMPARE(finished.count(), 1);
        QCOMPARE(scanner.index, 1);
    }

private:
    QTemporaryDir dir;
    QString longFile;  // 910 pictures of 12:11
    QString shortFile; // 400 pictures with square pixels
    QString unicodeFile;
    QString missingFile;
};

TEST_CLASS(TestThumbnailScanner, QApplication)
#include "tst_thumbnailscanner.moc"
