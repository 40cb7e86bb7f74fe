#include "archive/recordingsindex.h"
#include "tests/support/testclass.h"

#include "tests/support/testvolume.h"

#include <dirent.h>
#include <sys/stat.h>

namespace {

std::optional<std::vector<Programme>> load(const QTemporaryDir &volume)
{
    return readRecordingsIndex(volume.path().toStdString());
}

template <typename Index>
std::optional<std::vector<Programme>> loaded(const Index &index)
{
    const QTemporaryDir volume;
    return TestVolume::create(volume.path(), index) ? load(volume) : std::nullopt;
}

RecordBytes titled(const char *title)
{
    RecordBytes record;
    record.title = title;
    return record;
}

int openDescriptors()
{
    int count = 0;
    DIR *directory = ::opendir("/dev/fd");
    while (::readdir(directory))
        ++count;
    ::closedir(directory);
    return count;
}

// How many bytes this process has asked the system to read so far, without those that this function reads itself.
struct SystemReads
{
    SystemReads()
    {
        const QByteArray text = TestVolume::readFile("/proc/self/io"); // Linux has it.
        look = text.size();
        for (const QByteArray &line : text.split('\n')) {
            if (line.startsWith("syscr: "))
                calls = line.mid(7).toLongLong();
            if (line.startsWith("rchar: "))
                bytes = line.mid(7).toLongLong();
        }
    }

    qint64 look = 0;
    qint64 calls = 0;
    qint64 bytes = 0;
};

} // namespace

class TestRecordingsIndex : public QObject
{
    Q_OBJECT

private slots:
    void load_givesNothing_whenTheIndexCannotBeOpened()
    {
        const QTemporaryDir volume;
        QVERIFY(!load(volume).has_value());
    }

    void load_givesAnEmptyList_fromAShortFile_data()
    {
        QTest::addColumn<int>("size");
        QTest::newRow("empty") << 0;
        QTest::newRow("first 32 KiB only") << 32768;
        QTest::newRow("two bytes of the signature") << 32768 + 2;
    }
    void load_givesAnEmptyList_fromAShortFile()
    {
        QFETCH(int, size);
        const auto programmes = loaded(indexBytes({RecordBytes()}).left(size));
        QVERIFY(programmes.has_value());
        QVERIFY(programmes->empty());
    }

    void load_keepsTheOrderOfTheIndex()
    {
        RecordBytes early = titled("b");
        early.year = 2000;
        const auto programmes = loaded(QList<RecordBytes>{titled("c"), titled("a"), early});
        QVERIFY(programmes.has_value());
        QCOMPARE(programmes->size(), std::size_t(3));
        QCOMPARE((*programmes)[0].title, std::string("c"));
        QCOMPARE((*programmes)[1].title, std::string("a"));
        QCOMPARE((*programmes)[2].title, std::string("b"));
    }

    void load_stopsAtTheFirstInvalidRecord_evenIfValidOnesFollow()
    {
        QByteArray index = indexBytes({titled("1"), titled("2"), titled("3"), titled("4"), titled("5")});
        index[4 * 32768 + 2] = 0x08;
        QCOMPARE(loaded(index)->size(), std::size_t(3));
    }

    void load_neverReadsTheFirst32KiB()
    {
        const QByteArray index = titled("in the first 32 KiB").bytes() + titled("record 1").bytes();
        const auto programmes = loaded(index);
        QCOMPARE(programmes->size(), std::size_t(1));
        QCOMPARE(programmes->front().title, std::string("record 1"));
    }

    // A buffer would fetch pages that nobody needs, from a disk that may be slow.
    void load_readsOnlyWhatItNeeds_inTwoPiecesARecord()
    {
        if (SystemReads().calls == 0)
            QSKIP("This system does not say what a process reads.");
        constexpr int kRecords = 20;
        constexpr qint64 kTexts = 3115; // up to the end of the description
        constexpr qint64 kPlayPosition = 3;
        const QTemporaryDir volume;
        QVERIFY(TestVolume::create(volume.path(), QVector<RecordBytes>(kRecords, titled("a")).toList()));
        const SystemReads first;
        const SystemReads before;
        const auto programmes = load(volume);
        const SystemReads after;
        QCOMPARE(programmes->size(), std::size_t(kRecords));
        QCOMPARE(after.bytes - before.bytes - before.look, kRecords * (kTexts + kPlayPosition));
        const qint64 callsOfALook = before.calls - first.calls;
        QCOMPARE(after.calls - before.calls - callsOfALook, qint64(kRecords) * 2 + 1); // the last finds the end
    }

    void load_carriesPlayPositionsOver_toRecordsWithoutMarker()
    {
        RecordBytes marked = titled("marked");
        marked.playPosition = 120;
        RecordBytes reset = titled("watched from the start");
        reset.playPosition = 0;
        const auto programmes =
            loaded(QList<RecordBytes>{titled("a"), marked, titled("b"), titled("c"), reset, titled("d")});
        QVERIFY(programmes.has_value());
        std::vector<int> positions;
        for (const Programme &programme : *programmes)
            positions.push_back(programme.playPosition);
        QCOMPARE(positions, (std::vector<int>{0, 120, 120, 120, 0, 0}));
    }

    void load_readsTheLastRecord_fromATruncatedFile()
    {
        const auto programmes = loaded(indexBytes({titled("whole"), titled("cut")}).left(65536 + 1067 + 4));
        QCOMPARE(programmes->size(), std::size_t(2));
        QCOMPARE(programmes->back().title, std::string("cut"));
        QCOMPARE(programmes->back().description, std::string(1025, '\xFF'));
    }

    void load_givesAnEmptyList_whenTheIndexIsADirectory()
    {
        const QTemporaryDir volume;
        QVERIFY(QDir(volume.path()).mkpath("DVR/RECSINFO/RECS.INF"));
        const auto programmes = load(volume);
        QVERIFY(programmes && programmes->empty());
    }

    // Opening a pipe waits for a writer, and there is none.
    void load_givesNothing_andWaitsForNobody_whenTheIndexIsAPipe()
    {
        const QTemporaryDir volume;
        QVERIFY(QDir(volume.path()).mkpath("DVR/RECSINFO"));
        QCOMPARE(::mkfifo(QFile::encodeName(volume.filePath("DVR/RECSINFO/RECS.INF")).constData(), 0600), 0);
        const int before = openDescriptors();
        QVERIFY(!load(volume).has_value());
        QCOMPARE(openDescriptors(), before);
    }

    void load_givesNothing_whenTheIndexIsADevice()
    {
        const QTemporaryDir volume;
        QVERIFY(QDir(volume.path()).mkpath("DVR/RECSINFO"));
        QVERIFY(QFile::link("/dev/zero", volume.filePath("DVR/RECSINFO/RECS.INF")));
        QVERIFY(!load(volume).has_value());
    }

    void load_leavesNoFileOpen()
    {
        const QTemporaryDir volume;
        QVERIFY(TestVolume::create(volume.path(), {RecordBytes()}));
        const int before = openDescriptors();
        QVERIFY(load(volume));
        QCOMPARE(openDescriptors(), before);
    }
};

TEST_CLASS(TestRecordingsIndex, quorvale::NoApplication)
#include "tst_recordingsindex.moc"
