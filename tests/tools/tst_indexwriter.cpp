#include "tests/support/files.h"
#include "tests/support/testclass.h"
#include "tools/sampledisk/indexwriter.h"

#include <functional>
#include <stdexcept>

using namespace quorvale;

namespace {

constexpr int kBlock = 32768;

IndexRecord plainRecord()
{
    IndexRecord record;
    record.day = {2026, 11, 21};
    record.hour = 20;
    record.minute = 15;
    record.second = 59;
    record.fileName = "REC_0001";
    record.channel = "Channel";
    record.title = "Title";
    record.description = "<b>Text</b>";
    return record;
}

} // namespace

class TestIndexWriter : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    QByteArray written(const std::vector<IndexRecord> &records)
    {
        const QString path = m_dir.filePath("RECS.INF");
        writeIndex(path.toStdString(), records);
        return readFile(path);
    }

private slots:
    void write_leavesOneUnusedBlock_withoutRecords() { QCOMPARE(written({}), QByteArray(kBlock, '\0')); }

    void write_putsEveryValueAtItsOffset_andZerosElsewhere()
    {
        IndexRecord record = plainRecord();
        record.playPosition = 3600;
        QByteArray expected(2 * kBlock, '\0');
        const auto put = [&expected](int offset, const QByteArray &bytes) {
            expected.replace(kBlock + offset, bytes.size(), bytes);
        };
        put(0, QByteArray::fromHex("5201 07ea 0a 14 140f3b"));
        put(13, "REC_0001");
        put(43, "Channel");
        put(1067, "Title");
        put(2091, "<b>Text</b>");
        put(16390, QByteArray::fromHex("6a 100e"));
        QCOMPARE(written({record}), expected);
    }

    void write_leavesMarkerAndPositionZero_withoutAPosition()
    {
        const QByteArray bytes = written({plainRecord()});
        QCOMPARE(bytes.mid(kBlock + 16390, 3), QByteArray(3, '\0'));
    }

    void write_writesTheMarker_forPositionZeroToo()
    {
        IndexRecord record = plainRecord();
        record.playPosition = 0;
        QCOMPARE(written({record}).mid(kBlock + 16390, 3), QByteArray("j\0\0", 3));
        record.playPosition = 65535;
        QCOMPARE(written({record}).mid(kBlock + 16390, 3), QByteArray("j\xFF\xFF", 3));
    }

    void write_startsEachRecordAtItsBlock()
    {
        std::vector<IndexRecord> records(3, plainRecord());
        for (std::size_t i = 0; i < records.size(); ++i)
            records[i].title = "Title " + std::to_string(i);
        const QByteArray bytes = written(records);
        QCOMPARE(bytes.size(), 4 * kBlock);
        for (int i = 0; i < 3; ++i)
            QCOMPARE(bytes.mid((i + 1) * kBlock + 1067, 8), "Title " + QByteArray::number(i) + '\0');
    }

    void write_takesTextsUpToTheLastButOneByteOfTheirField()
    {
        IndexRecord record = plainRecord();
        record.fileName = std::string(29, 'f');
        record.channel = record.title = record.description = std::string(1023, 't');
        const QByteArray bytes = written({record});
        QCOMPARE(bytes.mid(kBlock + 13, 30), QByteArray(29, 'f') + '\0');
        for (const int offset : {43, 1067, 2091})
            QCOMPARE(bytes.mid(kBlock + offset, 1024), QByteArray(1023, 't') + '\0');
    }

    void write_throwsAndKeepsTheOldIndex_whenAValueDoesNotFit()
    {
        const QByteArray before = written({plainRecord()});
        const std::vector<std::function<void(IndexRecord &)>> mistakes{
            [](IndexRecord &record) { record.fileName = std::string(30, 'f'); },
            [](IndexRecord &record) { record.channel = std::string(1024, 'c'); },
            [](IndexRecord &record) { record.title = std::string(1024, 't'); },
            [](IndexRecord &record) { record.description = std::string(1024, 'd'); },
            [](IndexRecord &record) { record.day.year = 1791; },
            [](IndexRecord &record) { record.day.year = 2048; },
            [](IndexRecord &record) { record.day.month = 0; },
            [](IndexRecord &record) { record.day.month = 13; },
            [](IndexRecord &record) { record.day.day = 32; },
            [](IndexRecord &record) { record.hour = 24; },
            [](IndexRecord &record) { record.minute = 60; },
            [](IndexRecord &record) { record.second = -1; },
            [](IndexRecord &record) { record.playPosition = -1; },
            [](IndexRecord &record) { record.playPosition = 65536; },
        };
        for (const auto &mistake : mistakes) {
            IndexRecord record = plainRecord();
            mistake(record);
            QVERIFY_EXCEPTION_THROWN(written({plainRecord(), record}), std::runtime_error);
            QCOMPARE(readFile(m_dir.filePath("RECS.INF")), before);
        }
    }

    void write_throws_whenTheFolderIsMissing_orTheDiskFull()
    {
        if (QFile::link("/dev/full", m_dir.filePath("FULL.INF.part")))
            QVERIFY_EXCEPTION_THROWN(writeIndex(m_dir.filePath("FULL.INF").toStdString(), {}), std::runtime_error);
        QVERIFY_EXCEPTION_THROWN(writeIndex(m_dir.filePath("no/RECS.INF").toStdString(), {}), std::runtime_error);
    }
};

TEST_CLASS(TestIndexWriter, QCoreApplication)
#include "tst_indexwriter.moc"
