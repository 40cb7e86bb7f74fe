#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

namespace {

constexpr int kLongEnough = 30000;

/// An environment that keeps GNUstep's settings, sockets, logs and names of objects in `folder`: it needs no service.
QProcessEnvironment environmentIn(const QString &folder)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *variable : {"HOME", "TEMP", "TMP", "TMPDIR"})
        environment.insert(QLatin1String(variable), folder);
    // GNUstep keeps what it has until the end, which is no finding; the strings of the call are counted instead.
    const QString asanOptions = QStringLiteral("ASAN_OPTIONS");
    environment.insert(asanOptions, environment.value(asanOptions) + QStringLiteral(":detect_leaks=0"));
    return environment;
}

/// GNUstep's notification centre. A program that finds none starts a daemon, which outlives the test because its folder
/// is gone before its last client. This one ends with the object.
class NotificationCentre
{
public:
    explicit NotificationCentre(const QString &folder)
        : m_name(folder + QStringLiteral("/NSMessagePort/names/R0ROQ1NlcnZlcg==")) // "GDNCServer" in base64
    {
        m_centre.setProcessEnvironment(environmentIn(folder));
        m_centre.start(QStringLiteral("gdnc"), {QStringLiteral("--no-fork")});
    }
    ~NotificationCentre()
    {
        m_centre.terminate();
        if (!m_centre.waitForFinished(kLongEnough))
            m_centre.kill();
    }
    NotificationCentre(const NotificationCentre &) = delete;
    NotificationCentre &operator=(const NotificationCentre &) = delete;

    /// Its name is registered: programs find it.
    [[nodiscard]] bool isReady() const { return m_centre.state() == QProcess::Running && QFile::exists(m_name); }

private:
    QString m_name;
    QProcess m_centre;
};

const QStringList kNamesInFiles{QStringLiteral("-NSPortIsMessagePort"), QStringLiteral("YES")};

QByteArrayList linesOf(const QByteArray &text)
{
    QByteArrayList lines = text.split('\n');
    lines.removeLast();
    return lines;
}

} // namespace

/// The macOS call, compiled as it is and run on GNUstep: a probe makes it, a stand-in plays the file viewer.
class TestFinderMac : public QObject
{
    Q_OBJECT

private slots:
    void call_reachesTheViewerAndTheLog_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("plain") << QStringLiteral("/Volumes/disk/DVR/RECS/2016-01.ts");
        QTest::newRow("space") << QStringLiteral("/Volumes/my disk/DVR/RECS/a b.ts");
        QTest::newRow("percent sign") << QStringLiteral("/Volumes/disk/100%.ts");
        QTest::newRow("a format") << QStringLiteral("/Volumes/disk/%@%s%n.ts");
        QTest::newRow("quotes") << QStringLiteral("/Volumes/disk/\"it's\".ts");
        QTest::newRow("non-ASCII, one unit") << QStringLiteral("/Volumes/disk/Stra\u00DFe.ts");
        QTest::newRow("non-ASCII, two units") << QStringLiteral("/Volumes/disk/\u20AC \U0001F4FA.ts");
    }
    void call_reachesTheViewerAndTheLog()
    {
        QFETCH(QString, path);
        const QTemporaryDir folder;
        QVERIFY(folder.isValid());
        const NotificationCentre centre(folder.path());
        QTRY_VERIFY_WITH_TIMEOUT(centre.isReady(), kLongEnough);

        QProcess viewer;
        viewer.setProcessEnvironment(environmentIn(folder.path()));
        viewer.start(QStringLiteral(QUORVALE_STANDIN_VIEWER), kNamesInFiles);
        QVERIFY(viewer.waitForReadyRead(kLongEnough));
        QCOMPARE(viewer.readLine(), QByteArray("ready\n"));

        QProcess probe;
        probe.setProcessEnvironment(environmentIn(folder.path()));
        probe.start(QStringLiteral(QUORVALE_FINDER_MAC_PROBE), QStringList(path) + kNamesInFiles);
        QVERIFY(probe.waitForFinished(kLongEnough));
        QCOMPARE(probe.exitStatus(), QProcess::NormalExit);
        const QByteArray log = probe.readAllStandardError();
        QVERIFY2(probe.exitCode() == 0, log);

        viewer.closeWriteChannel();
        QVERIFY(viewer.waitForFinished(kLongEnough));

        // The probe makes two calls; the root is the empty string each time.
        const QByteArray shown = path.toUtf8() + " []";
        QCOMPARE(linesOf(viewer.readAllStandardOutput()), (QByteArrayList{shown, shown}));

        // Each log line starts with the time and the program. GNUstep may have lines of its own, on a user without a
        // home.
        QByteArrayList logged = linesOf(log);
        const auto notOurs = [](const QByteArray &line) { return !line.contains("] Opening file "); };
        logged.erase(std::remove_if(logged.begin(), logged.end(), notOurs), logged.end());
        QCOMPARE(logged.size(), 2);
        for (const QByteArray &line : logged)
            QVERIFY2(line.endsWith("] Opening file " + path.toUtf8()), line);

        QCOMPARE(probe.readAllStandardOutput(), QByteArray("strings left: 0\n"));
    }
};

QTEST_GUILESS_MAIN(TestFinderMac)
#include "tst_finder_mac.moc"
