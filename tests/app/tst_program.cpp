// The program itself on a virtual display, on the sample recorder disk, with a mouse and a keyboard.

#include "tests/app/programrun.h"
#include "tests/support/testvolume.h"

#include <QApplication>
#include <QFont>
#include <QtTest>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <memory>

namespace {

constexpr int kPatienceMs = 30000;
const QByteArray kUnreadable = "ThumbnailScanner - Could not read frame\n"; // These recordings have two pictures.

QString samples(const QString &name)
{
    return QStringLiteral(QUORVALE_SAMPLE_DISK "/RECORDER/DVR/") + name;
}

/// A recording on a disk that does not answer: whoever opens it hangs until answer() is called.
class SilentRecording
{
public:
    explicit SilentRecording(const QString &path)
        : m_path(QFile::encodeName(path))
    {
    }
    bool create() { return ::mkfifo(m_path.constData(), 0600) == 0; }
    /// Lets whoever is opening the recording now go on, with an empty file; false as long as nobody is.
    [[nodiscard]] bool answer() const
    {
        const int writer = ::open(m_path.constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        return writer >= 0 && ::close(writer) == 0;
    }

private:
    QByteArray m_path;
};

/// Waits until `holds` has been true once; it need not stay true.
bool comesTrue(const std::function<bool()> &holds)
{
    return QTest::qWaitFor(holds, kPatienceMs);
}

} // namespace

class TestProgram : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const QString problem = m_display.start();
        if (!problem.isEmpty())
            QSKIP(qPrintable("No virtual display: " + problem));
        QVERIFY2(QFile::exists(samples("RECSINFO/RECS.INF")), "the test app/sampledisk makes the disk");
        QApplication::setFont(QFont("Sans Serif", 9)); // as on a display without a desktop
        m_layout = WindowLayout::measure();
    }

    void init()
    {
        m_mountPoint = std::make_unique<QTemporaryDir>();
        m_program = std::make_unique<ProgramRun>(m_display, m_layout);
    }

    void cleanup()
    {
        m_program.reset();
        m_mountPoint.reset();
    }

    void window_showsTheRingFirst_andThenPictures()
    {
        mountSampleDisk("disk", {"REC_0001.ts"});
        SilentRecording first(path("disk/DVR/RECS/REC_0001.ts"));
        QVERIFY(first.create());
        const QString problem = m_program->start(m_mountPoint->path());
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        QVERIFY(comesTrue([&] { return m_program->showsRing(m_program->look()); }));
        QVERIFY(m_program->click(m_layout.rows.at(2)));
        const QImage ring = m_program->look();
        QVERIFY(m_program->showsRing(ring));
        QVERIFY(comesTrue([&] { return m_program->look().copy(m_layout.pictures) != ring.copy(m_layout.pictures); }));
        QVERIFY(m_program->showsRing(m_program->look())); // It turns.

        QVERIFY(comesTrue([&] { return first.answer(); }));
        QVERIFY(comesTrue([&] { return shownNumber().has_value(); }));
        // They come one after the other, and again from the first.
        for (const unsigned number : {150U, 300U, 150U})
            QVERIFY(comesTrue([&] { return shownNumber() == number; }));

        QVERIFY(m_program->click(m_layout.rows.at(0))); // what could not be opened keeps its ring
        QVERIFY(comesTrue([&] { return m_program->showsRing(m_program->look()); }));
        QVERIFY(m_program->quit());
        QCOMPARE(m_program->exitCode(), std::optional<int>(0));
        QCOMPARE(m_program->said(), kUnreadable);
    }

    void window_belongsToTheMenuEntry()
    {
        mountSampleDisk("disk");
        const QString problem = m_program->start(m_mountPoint->path());
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        const QByteArray key = "StartupWMClass=";
        QString programClass;
        for (const QByteArray &line :
             TestVolume::readFile(QFINDTESTDATA("../../packaging/linux/org.quorvale.quorvale.desktop")).split('\n')) {
            if (line.startsWith(key))
                programClass = QString::fromUtf8(line.mid(key.size()));
        }
        QVERIFY(!programClass.isEmpty());
        const QByteArray window = m_display.window("Quorvale");
        QVERIFY(!window.isEmpty());
        QCOMPARE(m_display.windowOfClass(programClass), window);
        QVERIFY(m_program->quit());
    }

    void window_isTwiceAsLarge_onAScreenOfTwiceTheDensity()
    {
        mountSampleDisk("disk");
        WindowLayout layout = m_layout;
        layout.window *= 2;
        ProgramRun program(m_display, layout); // which waits for a window of this size
        const QString problem = program.start(m_mountPoint->path(), 192);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        QCOMPARE(program.look().size(), m_layout.window * 2);
        QVERIFY(program.quit());
    }

    void click_pausesThePictures_andAnotherResumesThem()
    {
        openWithPicturesOf(0);
        QVERIFY(comesTrue(
            [&] { return shownNumber() == 300U; })); // The first one makes the place fit and is painted again.
        const auto timeField = [&] { return m_program->look().copy(m_layout.time); };
        const QImage withoutFocus = timeField();
        // A click that comes between the end of a picture's second and the painting of the next one leaves the place
        // empty, since nothing is painted while paused. That is rare; the show is then resumed, and paused again.
        std::optional<unsigned> paused;
        for (const bool takesFocus : {true, false, true}) {
            QVERIFY(m_program->click(m_layout.pictures.center()));
            QVERIFY(m_program->click(takesFocus ? m_layout.time.center() : m_layout.rows.at(0)));
            // So the click before has been handled, too.
            QVERIFY(comesTrue([&] { return (timeField() != withoutFocus) == takesFocus; }));
            paused = shownNumber();
            if (paused)
                break;
            QVERIFY(m_program->click(m_layout.pictures.center()));
            QVERIFY(comesTrue([&] { return shownNumber().has_value(); }));
        }
        QVERIFY(paused);
        // No event says that nothing happens, so this waits for as long as two frames of a running show.
        for (int look = 0; look < 20; ++look) {
            QTest::qWait(100);
            QCOMPARE(shownNumber(), paused);
        }
        QVERIFY(m_program->click(m_layout.pictures.center()));
        QVERIFY(comesTrue([&] { return shownNumber() && shownNumber() != paused; }));
    }

    void key_heldDown_startsOnePlayer()
    {
        mountSampleDisk("disk");
        const QString problem = m_program->start(m_mountPoint->path());
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        QVERIFY(m_program->click(m_layout.rows.at(0)));
        QVERIFY(m_program->hold("Return", 1500));
        QVERIFY(comesTrue([&] { return !m_program->opened().isEmpty(); }));
        QVERIFY(m_program->quit()); // handled after all presses
        QCOMPARE(m_program->exitCode(), std::optional<int>(0));
        QCOMPARE(m_program->opened().count('\n'), 1);
    }

    void selection_showsThePicturesOfAnotherProgramme()
    {
        openWithPicturesOf(0);
        const QImage first = m_program->picture(m_program->look());
        QVERIFY(m_program->click(m_layout.rows.at(1))); // a radio programme
        QVERIFY(comesTrue([&] { return m_program->showsRing(m_program->look()); }));
        QVERIFY(m_program->click(m_layout.rows.at(2)));
        QVERIFY(comesTrue([&] { return shownNumber() == 150U; }));
        const QImage other = m_program->picture(m_program->look());
        QCOMPARE(other.size(), first.size());
        // Recordings differ in colour: seen below the number, where both would otherwise be alike.
        const QPoint below(other.width() / 20, other.height() / 2);
        QVERIFY(other.pixelColor(below) != first.pixelColor(below));
        QVERIFY(m_program->click(m_layout.rows.at(0)));
        QVERIFY(comesTrue([&] {
            const QImage shown = m_program->picture(m_program->look());
            return shown.size() == first.size() && shown.pixelColor(below) == first.pixelColor(below);
        }));
    }

    void device_isShownWithoutAScan_whileThatOfAnotherRuns()
    {
        // Devices are listed, and the first is loaded, in the order in which the folder gives them.
        for (const char *name : {"a", "b"})
            QVERIFY(QDir().mkpath(path(name)));
        const QStringList devices = QDir(path(".")).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Unsorted);
        QVERIFY(TestVolume::create(path(devices.at(0)), QList<RecordBytes>{RecordBytes()}));
        SilentRecording silent(path(devices.at(0) + "/DVR/RECS/rec.ts"));
        QVERIFY(silent.create());
        mountSampleDisk(devices.at(1));
        const QString problem = m_program->start(m_mountPoint->path());
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        QVERIFY(comesTrue([&] { return m_program->scanThreads() == 1; }));
        const auto programmes = [&] { return m_program->look().copy(QRect(m_layout.rows.at(1), QSize(100, 20))); };
        const QImage oneProgramme = programmes();

        QVERIFY(m_program->click(m_layout.devices.at(1)));
        QVERIFY(comesTrue([&] { return programmes() != oneProgramme; }));
        QVERIFY(comesTrue([&] { return m_program->showsRing(m_program->look()); }));
        QCOMPARE(m_program->scanThreads(), 1);

        QVERIFY(comesTrue([&] { return silent.answer(); }));
        const auto clickStartsAScan = [&] {
            return m_program->click(m_layout.devices.at(1)) && m_program->scanThreads() > 1;
        };
        QVERIFY(comesTrue([&] { return clickStartsAScan(); }));
        QVERIFY(comesTrue([&] { return shownNumber().has_value(); }));
    }

    void quit_endsTheScanAtTheNextFile_inTheMiddleOfIt()
    {
        constexpr int kRecordings = 100;
        QList<RecordBytes> records;
        for (int i = 0; i < kRecordings; ++i) {
            records.append(RecordBytes());
            records.last().fileName = QByteArray::number(i);
        }
        QVERIFY(TestVolume::create(path("disk"), records));
        for (const RecordBytes &record : records)
            QVERIFY(QFile::link(samples("RECS/REC_0003.ts"), path("disk/DVR/RECS/" + record.fileName + ".ts")));
        const QString problem = m_program->start(m_mountPoint->path());
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        QVERIFY(comesTrue([&] { return !m_program->said().isEmpty(); })); // One recording is done, another begins.
        QVERIFY(m_program->quit());
        QCOMPARE(m_program->exitCode(), std::optional<int>(0));
        // Each scanned recording writes one line; there is no other line, and most recordings were not scanned.
        const QByteArray said = m_program->said();
        const auto scanned = int(said.count(kUnreadable));
        QCOMPARE(said, kUnreadable.repeated(scanned));
        QVERIFY2(scanned < kRecordings, qPrintable(QString::number(scanned)));
        QVERIFY(m_program->settings().contains("dateformat=ymd"));
    }

    void quit_endsTheProgram_whenAReadHangs()
    {
        QVERIFY(TestVolume::create(path("disk"), QList<RecordBytes>{RecordBytes()}));
        SilentRecording silent(path("disk/DVR/RECS/rec.ts"));
        QVERIFY(silent.create());
        const QString problem = m_program->start(m_mountPoint->path());
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        QVERIFY(comesTrue([&] { return m_program->scanThreads() == 1; }));
        QVERIFY(m_program->quit());
        QCOMPARE(m_program->exitCode(), std::optional<int>(0)); // It would hang for ever.
        QCOMPARE(m_program->said(), QByteArray());
        QVERIFY(m_program->settings().contains("dateformat=ymd"));
    }

    void start_takesAllDescriptors_thatItMayHave()
    {
        rlimit own = {};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &own), 0);
        const rlimit few{512, own.rlim_max}; // passed on to the program
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &few), 0);
        mountSampleDisk("disk");
        const QString problem = m_program->start(m_mountPoint->path());
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &own), 0);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        const QByteArray most = QByteArray::number(quint64(own.rlim_max));
        QCOMPARE(m_program->descriptorLimit(), most + " of " + most);
    }

private:
    // Puts the sample disk, without the recordings named, into a volume at the mount point.
    void mountSampleDisk(const QString &name, const QStringList &without = {}) const
    {
        QVERIFY(TestVolume::create(path(name), TestVolume::readFile(samples("RECSINFO/RECS.INF"))));
        const QDir recordings(samples("RECS"));
        for (const QString &file : recordings.entryList(QDir::Files)) {
            if (!without.contains(file))
                QVERIFY(QFile::link(recordings.filePath(file), path(name + "/DVR/RECS/" + file)));
        }
    }

    [[nodiscard]] QString path(const QString &name) const { return m_mountPoint->filePath(name); }

    // Opens the window on the sample disk and waits for a programme's pictures.
    void openWithPicturesOf(int row) const
    {
        mountSampleDisk("disk");
        const QString problem = m_program->start(m_mountPoint->path());
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        QVERIFY(m_program->click(m_layout.rows.at(std::size_t(row))));
        QVERIFY(comesTrue([&] { return shownNumber().has_value(); }));
    }

    [[nodiscard]] std::optional<unsigned> shownNumber() const { return m_program->shownNumber(m_program->look()); }

    WindowLayout m_layout;
    VirtualDisplay m_display;
    std::unique_ptr<QTemporaryDir> m_mountPoint;
    std::unique_ptr<ProgramRun> m_program;
};

QTEST_MAIN(TestProgram)
#include "tst_program.moc"
